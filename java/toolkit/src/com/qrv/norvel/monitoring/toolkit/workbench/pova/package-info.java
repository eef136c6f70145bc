/** The entry point of the Java side. Internal. */
package com.qrv.norvel.monitoring.toolkit.workbench.pova;
