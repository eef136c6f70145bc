package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg;

/** The Java end of the message bridge, as the native side knows it. */
public interface Server {

  /**
   * Takes one message of the native side. Returns when the message has been answered, on the same
   * thread; throws nothing, since whatever it threw would end the process.
   */
  void processInbound(Object message);
}
