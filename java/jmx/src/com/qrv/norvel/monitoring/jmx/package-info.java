/**
 * The default application: monitors Java virtual machines over JMX, its own, those of this machine
 * and those that the configuration names.
 *
 * <p>Each monitored JVM is a {@linkplain com.qrv.norvel.monitoring.jmx.monitored target} with a
 * thread and a connection of its own, so that one that hangs delays no other.
 */
package com.qrv.norvel.monitoring.jmx;
