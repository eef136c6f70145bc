package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.rmi.Remote;
import java.rmi.RemoteException;
import javax.management.remote.rmi.RMIConnection;
import javax.management.remote.rmi.RMIServer;

/**
 * A JMX server whose connections go where its route allows. The sockets are made by that rule, too;
 * but RMI uses an open one again for whatever stub names its endpoint, also one of another target.
 */
public final class RoutedServer implements RMIServer {
  private final RMIServer server;
  private final Route route;

  public RoutedServer(RMIServer server, Route route) {
    this.server = server;
    this.route = route;
  }

  @Override
  public String getVersion() throws RemoteException {
    return server.getVersion();
  }

  @Override
  public RMIConnection newClient(Object credentials) throws IOException {
    check(server);
    RMIConnection connection = server.newClient(credentials);
    check(connection);
    return connection;
  }

  private void check(Remote stub) throws IOException {
    StubEndpoint endpoint = StubEndpoint.of(stub);
    route.resolve(endpoint.host(), endpoint.port());
  }
}
