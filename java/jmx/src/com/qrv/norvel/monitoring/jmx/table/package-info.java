/**
 * The tables of the application: what each column is, which MBean attribute it comes from, and how
 * a bean's attributes become the cells of a row.
 */
package com.qrv.norvel.monitoring.jmx.table;
