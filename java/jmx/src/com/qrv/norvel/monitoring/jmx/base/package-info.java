/** What every other package takes from outside: the time, and a log for the operators. */
package com.qrv.norvel.monitoring.jmx.base;
