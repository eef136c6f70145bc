/** Notifications of MBeans as event tables, listened to only while somebody watches the table. */
package com.qrv.norvel.monitoring.jmx.notify;
