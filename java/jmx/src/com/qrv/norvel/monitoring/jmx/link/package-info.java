/**
 * The way to a JVM: how its address is found and dialled, and the link over which its MBeans are
 * read. Knows nothing of when or why a JVM is asked.
 */
package com.qrv.norvel.monitoring.jmx.link;
