/** Finds the JVMs of this machine, and tells which of them may be attached to. */
package com.qrv.norvel.monitoring.jmx.discovery;
