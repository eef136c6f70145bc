package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni;

import com.qrv.norvel.monitoring.test.Application;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;

/** The server that the native side binds; what it does stands in the application. */
public final class JniServer implements Server {
  private final Application application = new Application(this);

  @Override
  public void processInbound(Object message) {
    application.handle(message);
  }

  /** Hands a message to the native side. */
  public native void doPutOutbound(Object message);
}
