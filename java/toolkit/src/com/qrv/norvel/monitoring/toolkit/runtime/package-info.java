/**
 * The working parts behind the application's interfaces: the life of the application, bounded
 * calls into it, rows, notifications, log and daemons. Internal: applications use none of it.
 */
package com.qrv.norvel.monitoring.toolkit.runtime;
