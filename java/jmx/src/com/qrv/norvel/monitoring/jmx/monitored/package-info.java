/**
 * JVMs that are monitored: the state and the thread that each of them has, the jobs it works off,
 * and what happens when one hangs or goes away.
 */
package com.qrv.norvel.monitoring.jmx.monitored;
