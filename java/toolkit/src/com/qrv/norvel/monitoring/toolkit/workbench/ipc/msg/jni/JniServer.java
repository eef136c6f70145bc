package com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni;

import com.qrv.norvel.monitoring.toolkit.bridge.Dispatcher;
import com.qrv.norvel.monitoring.toolkit.bridge.Transport;
import com.qrv.norvel.monitoring.toolkit.runtime.Toolkit;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;
import java.util.HashMap;

/**
 * The one message server of the process. The native side finds this class, its operation {@code
 * processInbound} and its native {@code doPutOutbound} by name.
 *
 * <p>What goes out is trusted on the other side, addresses included. So the native is private, and
 * the server is made once, before any class of an application is loaded.
 */
public final class JniServer implements Server {
  private static boolean created; // guarded by the class

  private final Dispatcher dispatcher;

  private JniServer() {
    dispatcher = Toolkit.start(new Outbound(this));
  }

  /**
   * Makes the server.
   *
   * @throws IllegalStateException on the second call
   */
  public static synchronized Server create() {
    if (created) {
      throw new IllegalStateException("the message server exists already");
    }
    created = true;
    return new JniServer();
  }

  @Override
  public void processInbound(Object message) {
    dispatcher.processInbound(message);
  }

  private native void doPutOutbound(Object message);

  private static final class Outbound implements Transport {
    private final JniServer server;

    Outbound(JniServer server) {
      this.server = server;
    }

    @Override
    public void send(HashMap<Integer, Object> envelope) {
      server.doPutOutbound(envelope);
    }
  }
}
