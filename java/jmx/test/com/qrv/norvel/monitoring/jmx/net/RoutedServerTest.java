package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.lang.management.ManagementFactory;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.SocketTimeoutException;
import java.nio.ByteBuffer;
import java.rmi.server.RemoteObject;
import java.util.Map;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import javax.management.remote.JMXServiceURL;
import javax.management.remote.rmi.RMIConnection;
import javax.management.remote.rmi.RMIConnector;
import javax.management.remote.rmi.RMIConnectorServer;
import javax.management.remote.rmi.RMIJRMPServerImpl;
import javax.management.remote.rmi.RMIServer;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** A JMX server that gives its clients connections to somebody else. */
final class RoutedServerTest {
  private TargetSockets sockets;
  private ServerSocket elsewhere;
  private RMIConnectorServer server;
  private LuringServer implementation;

  @BeforeEach
  void serve() throws Exception {
    sockets = new TargetSockets(RmiSetup.once(2000));
    sockets.adoptThread();
    elsewhere = new ServerSocket(0, 50, InetAddress.getLoopbackAddress());
    implementation = new LuringServer();
    server =
        new RMIConnectorServer(
            new JMXServiceURL("service:jmx:rmi://"),
            Map.of(),
            implementation,
            ManagementFactory.getPlatformMBeanServer());
    server.start();
  }

  @AfterEach
  void stop() throws Exception {
    server.stop();
    elsewhere.close();
  }

  @Test
  void aConnectionThatLeadsAwayIsNeitherDialledNorUsed() throws Exception {
    int home = StubEndpoint.of(implementation.toStub()).port();
    int away = elsewhere.getLocalPort();
    sockets.lead(
        (host, port) -> {
          if (port != home) {
            throw new IOException("port " + port + " is not the target's");
          }
          return InetAddress.getLoopbackAddress();
        });
    RMIServer stub = (RMIServer) implementation.toStub();
    implementation.lure = readAside(stubAt(away));
    RMIConnector connector =
        new RMIConnector(new RoutedServer(stub, sockets.route()), Map.of());

    assertThatThrownBy(connector::connect).hasMessage("port " + away + " is not the target's");

    assertNobodyCameTo(elsewhere);
  }

  @Test
  void anHonestServerIsConnectedTo() throws Exception {
    sockets.lead((host, port) -> InetAddress.getLoopbackAddress());
    RMIServer stub = (RMIServer) implementation.toStub();

    try (RMIConnector connector =
        new RMIConnector(new RoutedServer(stub, sockets.route()), Map.of())) {
      connector.connect();
      assertThat(connector.getMBeanServerConnection().getDefaultDomain()).isNotEmpty();
    }
  }

  /** The bytes of an honest connection's stub, with another port. */
  private byte[] stubAt(int port) throws Exception {
    try (RMIConnection honest = implementation.newClient(null)) {
      ByteArrayOutputStream bytes = new ByteArrayOutputStream();
      try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
        output.writeObject(RemoteObject.toStub(honest));
      }
      ByteBuffer stub = ByteBuffer.wrap(bytes.toByteArray());
      // The port, the 23 bytes that name the object, and the end of the block.
      stub.putInt(stub.capacity() - 1 - 23 - 4, port);
      return stub.array();
    }
  }

  /** On a thread that belongs to no target, so that reading the stub dials nobody. */
  private static RMIConnection readAside(byte[] stub) throws Exception {
    CompletableFuture<Object> read = new CompletableFuture<>();
    new Thread(
            () -> {
              try {
                read.complete(new ObjectInputStream(new ByteArrayInputStream(stub)).readObject());
              } catch (IOException | ClassNotFoundException e) {
                read.completeExceptionally(e);
              }
            })
        .start();
    return (RMIConnection) read.get(60, TimeUnit.SECONDS);
  }

  private static void assertNobodyCameTo(ServerSocket socket) throws IOException {
    socket.setSoTimeout(1);
    assertThatThrownBy(socket::accept).isInstanceOf(SocketTimeoutException.class);
  }

  private static final class LuringServer extends RMIJRMPServerImpl {
    private volatile RMIConnection lure; // null to be honest

    LuringServer() throws IOException {
      super(0, null, null, Map.of());
    }

    @Override
    public RMIConnection newClient(Object credentials) throws IOException {
      return lure == null ? super.newClient(credentials) : lure;
    }
  }
}
