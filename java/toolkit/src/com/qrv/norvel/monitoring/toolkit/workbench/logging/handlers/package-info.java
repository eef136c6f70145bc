/** The way of log records into the agent's trace. Internal. */
package com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers;
