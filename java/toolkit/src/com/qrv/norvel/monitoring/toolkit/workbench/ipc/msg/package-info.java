/** The message server that the native side asks for. Internal. */
package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg;
