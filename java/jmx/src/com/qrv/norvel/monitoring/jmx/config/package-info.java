/** The application's configuration file. */
package com.qrv.norvel.monitoring.jmx.config;
