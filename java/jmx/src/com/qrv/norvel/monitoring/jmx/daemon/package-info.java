/** Programs that the configuration wants beside the agent or beside its targets. */
package com.qrv.norvel.monitoring.jmx.daemon;
