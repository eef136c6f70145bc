package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.net.RmiSetup;
import com.qrv.norvel.monitoring.jmx.net.RoutedServer;
import com.qrv.norvel.monitoring.jmx.net.Route;
import com.qrv.norvel.monitoring.jmx.net.TargetSockets;
import com.qrv.norvel.monitoring.jmx.net.TrackedSockets;
import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.util.HashMap;
import java.util.Map;
import javax.management.remote.JMXConnector;
import javax.management.remote.rmi.RMIConnector;
import javax.management.remote.rmi.RMIServer;

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
    RMIServer server = server();
    RMIConnector connector =
        new RMIConnector(new RoutedServer(server, sockets.route()), environment);
    connector.connect(environment);
    confirm();
    return new RmiLink(
        target, connector, connector.getMBeanServerConnection(), fetches, times, log);
  }

  @Override
  public void cut() {
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

  /** Sets where the target's connections may lead; none may lead anywhere before. */
  final void lead(Route route) {
    sockets.lead(route);
  }

  /** The stub to connect through; whoever makes it calls {@link #lead} first. */
  abstract RMIServer server() throws Exception;

  /**
   * The connection is open: a last look at who is there.
   *
   * @throws IOException when it is not the target; the connection is dropped
   */
  void confirm() throws IOException {}

  /** Reads a stub. It calls its host, as far as the route allows. */
  static RMIServer read(byte[] stub) throws IOException {
    try (ObjectInputStream input = new ObjectInputStream(new ByteArrayInputStream(stub))) {
      if (input.readObject() instanceof RMIServer server) {
        return server;
      }
    } catch (ClassNotFoundException e) {
      throw new IOException("its stub is of a class that is not known here", e);
    }
    throw new IOException("it has the stub of something else than a JMX server");
  }
}
