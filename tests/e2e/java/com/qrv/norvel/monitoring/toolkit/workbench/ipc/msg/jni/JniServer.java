package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni;

import com.qrv.norvel.monitoring.toolkit.bridge.Dispatcher;
import com.qrv.norvel.monitoring.toolkit.runtime.Toolkit;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;
import e2e.Lie;
import e2e.Stops;
import java.util.HashMap;

/**
 * A server that lies, where the class path puts it before the toolkit's: the toolkit works behind
 * it, and answers to samples of certain tables are spoilt on their way out.
 */
public final class JniServer implements Server {
  private final ThreadLocal<Object> request = new ThreadLocal<>();
  private final Dispatcher dispatcher = Toolkit.start(this::send);

  private JniServer() {}

  /** Makes the server, as the toolkit's own does. */
  public static Server create() {
    return new JniServer();
  }

  @Override
  public void processInbound(Object message) {
    Stops.failServer();
    request.set(message);
    try {
      dispatcher.processInbound(message);
    } finally {
      request.remove();
    }
  }

  private void send(HashMap<Integer, Object> envelope) {
    Lie lie = Lie.of(request.get());
    if (lie == null) {
      doPutOutbound(envelope);
    } else {
      lie.tell(envelope, this::doPutOutbound);
    }
  }

  private native void doPutOutbound(Object message);
}
