package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.net.RmiSetup;
import com.qrv.norvel.monitoring.jmx.net.TargetSockets;
import com.qrv.norvel.monitoring.jmx.net.TrackedSockets;
import java.io.IOException;
import java.util.HashMap;
import java.util.Map;
import javax.management.remote.JMXConnector;
import javax.management.remote.rmi.RMIConnector;

/** Opens RMI connections whose sockets can be closed under a call. */
abstract class RmiDialer implements Dialer {
  private final String target;
  private final LinkTimes times;
  private final OperatorLog log;
  private volatile TargetSockets sockets; // null before the thread has come

  RmiDialer(String target, LinkTimes times, OperatorLog log) {
    this.target = target;
    this.times = times;
    this.log = log;
  }

  @Override
  public void adoptThread() {
    try {
      TrackedSockets factory = RmiSetup.once(times.callMillis());
      TargetSockets own = new TargetSockets(factory);
      own.adoptThread();
      sockets = own;
    } catch (IOException e) {
      log.error("target " + target + " can't be reached safely: " + e);
    }
  }

  @Override
  public final Link dial() throws Exception {
    if (sockets == null) {
      throw new IOException("another RMI socket factory is already set in this process");
    }
    Map<String, Object> environment = new HashMap<>();
    // Without this each connector has a thread that asks for a sign of life.
    environment.put("jmx.remote.x.client.connection.check.period", 0L);
    // A long poll; it has to end by itself before the socket's time is over.
    environment.put("jmx.remote.x.notification.fetch.timeout", (long) times.callMillis());
    FetchThread fetches = new FetchThread(target);
    environment.put("jmx.remote.x.fetch.notifications.executor", fetches);
    String[] credentials = credentials();
    if (credentials != null) {
      environment.put(JMXConnector.CREDENTIALS, credentials);
    }
    RMIConnector connector = connector(environment);
    connector.connect(environment);
    return new RmiLink(
        target, connector, connector.getMBeanServerConnection(), fetches, times, log);
  }

  @Override
  public final void cut() {
    TargetSockets own = sockets;
    if (own != null) {
      own.cut();
    }
  }

  @Override
  public final void allow() {
    TargetSockets own = sockets;
    if (own != null) {
      own.allow();
    }
  }

  @Override
  public final void bear(long millis) {
    TargetSockets own = sockets;
    if (own != null) {
      own.bear(millis);
    }
  }

  /** User and password, or null. Never to be shown. */
  String[] credentials() throws IOException {
    return null;
  }

  /** The connector, not connected yet. */
  abstract RMIConnector connector(Map<String, Object> environment) throws Exception;
}
