/** The application's own pages: its targets, and what reading them costs. */
package com.qrv.norvel.monitoring.jmx.web;
