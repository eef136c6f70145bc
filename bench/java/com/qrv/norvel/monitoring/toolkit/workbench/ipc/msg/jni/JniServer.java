package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni;

import com.qrv.norvel.monitoring.toolkit.bench.Answers;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;

/** Answers the library: its native is the library's. */
public final class JniServer implements Server {
  @Override
  public void processInbound(Object message) {
    if (Answers.isExpected(message)) {
      doPutOutbound(Answers.to(message));
    }
  }

  private native void doPutOutbound(Object message);
}
