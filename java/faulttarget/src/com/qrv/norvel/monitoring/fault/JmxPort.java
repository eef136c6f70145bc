package com.qrv.norvel.monitoring.fault;

import java.io.IOException;
import java.rmi.registry.LocateRegistry;
import java.rmi.registry.Registry;
import java.util.Map;
import javax.management.MBeanServer;
import javax.management.remote.JMXServiceURL;
import javax.management.remote.rmi.RMIConnectorServer;
import javax.management.remote.rmi.RMIJRMPServerImpl;

/** A JMX server and its registry, in this process and on one port of the loopback. */
final class JmxPort {
  private static final String HOST = "127.0.0.1";

  // What nobody refers to is collected, and refuses its clients from then on.
  private final Object[] kept;
  private final int port;

  private JmxPort(int port, Object... kept) {
    this.port = port;
    this.kept = kept;
  }

  /** @param wished 0 for any free port */
  static JmxPort open(int wished, DroppingSockets sockets, MBeanServer beans) throws IOException {
    System.setProperty("java.rmi.server.hostname", HOST);
    Registry registry = LocateRegistry.createRegistry(wished, null, sockets);
    // The same wish, not the port that came of it: so both share one server socket.
    RMIJRMPServerImpl implementation = new RMIJRMPServerImpl(wished, null, sockets, Map.of());
    RMIConnectorServer server =
        new RMIConnectorServer(
            new JMXServiceURL("rmi", HOST, wished), Map.of(), implementation, beans);
    server.start();
    registry.rebind("jmxrmi", implementation.toStub());
    return new JmxPort(sockets.port(), registry, server);
  }

  int port() {
    return port;
  }
}
