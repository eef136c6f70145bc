package com.qrv.norvel.monitoring.toolkit.workbench.pova;

import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni.JniServer;

/** Where the native side enters the measured application. */
public final class WbApp {
  private WbApp() {}

  public static Server init() {
    return new JniServer();
  }
}
