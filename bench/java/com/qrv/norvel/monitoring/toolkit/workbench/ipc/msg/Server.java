package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg;

/** The Java end of a message bridge. */
public interface Server {
  void processInbound(Object message);
}
