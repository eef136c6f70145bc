/** Take-actions: what people may have done at a target, and nothing else. */
package com.qrv.norvel.monitoring.jmx.action;
