package com.qrv.norvel.monitoring.toolkit.bench;

import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;

/** Answers the exchange written by hand: the same code as the library's server, another native. */
public final class PlainServer implements Server {
  @Override
  public void processInbound(Object message) {
    doPutOutbound(Answers.to(message));
  }

  private native void doPutOutbound(Object message);
}
