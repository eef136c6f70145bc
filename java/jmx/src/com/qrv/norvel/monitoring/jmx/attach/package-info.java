/**
 * Asks JVMs of this machine to start their management agents, over the socket that a JVM opens
 * below its {@code /tmp} for tools of its own user and of root.
 *
 * <p>Anybody may put a socket of that name there. So nothing is sent before the owner of the socket
 * and the user of the process at its other end are both the JVM's own.
 */
package com.qrv.norvel.monitoring.jmx.attach;
