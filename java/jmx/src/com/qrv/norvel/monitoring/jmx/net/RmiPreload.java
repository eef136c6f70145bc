package com.qrv.norvel.monitoring.jmx.net;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.io.ObjectStreamClass;
import java.rmi.registry.LocateRegistry;
import javax.management.remote.rmi.RMIConnector;
import javax.management.remote.rmi.RMIServer;

/**
 * Loads what the first connection needs, some 600 classes, while the agent's native side starts up:
 * otherwise the first connection would wait for them. It contacts nobody.
 */
public final class RmiPreload implements Runnable {
  private final int callMillis;
  private final OperatorLog log;

  private RmiPreload(int callMillis, OperatorLog log) {
    this.callMillis = callMillis;
    this.log = log;
  }

  /** Begins, on a thread of its own. */
  public static void begin(int callMillis, OperatorLog log) {
    Thread thread = new Thread(null, new RmiPreload(callMillis, log), "jmx-preload", 256 * 1024);
    thread.setDaemon(true);
    thread.start();
  }

  @Override
  public void run() {
    try {
      RmiSetup.once(callMillis);
      // A stub is made without a call.
      LocateRegistry.getRegistry("127.0.0.1");
      ObjectStreamClass.lookup(RMIServer.class);
      load(ObjectInputStream.class);
      load(RMIConnector.class);
    } catch (IOException | ClassNotFoundException | RuntimeException e) {
      // Nothing is lost: each target's thread meets the same, and reports it as its error.
      log.info("RMI could not be prepared: " + e);
    }
  }

  private static void load(Class<?> type) throws ClassNotFoundException {
    Class.forName(type.getName(), true, RmiPreload.class.getClassLoader());
  }
}
