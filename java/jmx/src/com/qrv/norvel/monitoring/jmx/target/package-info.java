/**
 * Monitored JVMs: their connections, the thread that each of them has, what happens when one hangs
 * or goes away, and the book of all of them.
 */
package com.qrv.norvel.monitoring.jmx.target;
