/** Processes of the operating system. Internal. */
package com.qrv.norvel.monitoring.toolkit.workbench.osutils;
