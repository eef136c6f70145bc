package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg;

/** The Java end of the bridge. */
public interface Server {
  /** Takes a message from the native side, on the thread that sends it. */
  void processInbound(Object message);
}
