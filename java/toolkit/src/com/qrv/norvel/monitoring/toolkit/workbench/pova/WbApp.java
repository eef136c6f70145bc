package com.qrv.norvel.monitoring.toolkit.workbench.pova;

import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni.JniServer;

/** Where the native side enters Java. It finds the class and its operation by name. */
public final class WbApp {
  private WbApp() {}

  /**
   * Starts the Java side. The application is loaded later, by the init request, whose answer can
   * say what is wrong with it.
   *
   * @throws IllegalStateException on the second call
   */
  public static Server init() {
    return JniServer.create();
  }
}
