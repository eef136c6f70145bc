/**
 * Sockets to monitored JVMs, which can be closed under a call that hangs, and the limits on what
 * comes back through them.
 */
package com.qrv.norvel.monitoring.jmx.net;
