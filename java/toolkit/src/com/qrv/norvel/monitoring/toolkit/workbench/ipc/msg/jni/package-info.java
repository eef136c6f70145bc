/** The message bridge over native methods. Internal. */
package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni;
