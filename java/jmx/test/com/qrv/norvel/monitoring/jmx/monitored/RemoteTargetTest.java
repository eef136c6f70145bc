package com.qrv.norvel.monitoring.jmx.monitored;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.link.LinkTimes;
import com.qrv.norvel.monitoring.jmx.link.RemoteAddress;
import com.qrv.norvel.monitoring.jmx.link.RemoteDialer;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import com.qrv.norvel.monitoring.jmx.net.PublishedStub;
import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.lang.management.ManagementFactory;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.rmi.Remote;
import java.rmi.registry.LocateRegistry;
import java.rmi.registry.Registry;
import java.rmi.server.RMIServerSocketFactory;
import java.rmi.server.UnicastRemoteObject;
import java.util.Base64;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import javax.management.remote.JMXAuthenticator;
import javax.management.remote.JMXConnectorServer;
import javax.management.remote.JMXPrincipal;
import javax.management.remote.JMXServiceURL;
import javax.management.remote.rmi.RMIConnectorServer;
import javax.management.remote.rmi.RMIJRMPServerImpl;
import javax.security.auth.Subject;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** A target behind a registry, with a password: this JVM, over the loopback interface. */
final class RemoteTargetTest {
  private static final int CALL_MILLIS = 2000;
  private static final LinkTimes TIMES = new LinkTimes(CALL_MILLIS, 10_000, Clock.SYSTEM);

  @TempDir private Path directory;

  private final RecordingLog log = new RecordingLog();
  private final CallWatchdog watchdog = new CallWatchdog(Clock.SYSTEM, CALL_MILLIS);
  private final Map<String, Object> environment = new HashMap<>();
  private ServerSocket registrySocket;
  private Registry registry;
  private JMXConnectorServer server;
  private ConnectedJvm jvm;

  @BeforeEach
  void serve() throws Exception {
    registrySocket = new ServerSocket(0, 50, InetAddress.getLoopbackAddress());
    RMIServerSocketFactory given = port -> registrySocket;
    registry = LocateRegistry.createRegistry(registrySocket.getLocalPort(), null, given);
    JMXAuthenticator authenticator =
        credentials -> {
          String[] pair = (String[]) credentials;
          if (pair == null || !pair[0].equals("ann") || !pair[1].equals("s3cret")) {
            throw new SecurityException("wrong user or password");
          }
          return new Subject(
              true,
              Collections.singleton(new JMXPrincipal("ann")),
              Collections.emptySet(),
              Collections.emptySet());
        };
    environment.put("jmx.remote.authenticator", authenticator);
    publish();
  }

  /** Starts a server, as each start of a JVM does, and puts it into the registry. */
  private void publish() throws Exception {
    RMIServerSocketFactory loopback =
        port -> new ServerSocket(port, 50, InetAddress.getLoopbackAddress());
    RMIJRMPServerImpl implementation = new RMIJRMPServerImpl(0, null, loopback, environment);
    server =
        new RMIConnectorServer(
            new JMXServiceURL("service:jmx:rmi://"),
            environment,
            implementation,
            ManagementFactory.getPlatformMBeanServer());
    server.start();
    registry.rebind("jmxrmi", implementation.toStub());
  }

  @AfterEach
  void stop() throws Exception {
    jvm.close();
    watchdog.close();
    server.stop();
    UnicastRemoteObject.unexportObject(registry, true);
    registrySocket.close();
  }

  @Test
  void isReadWithUserAndPassword() throws Exception {
    start(registrySocket.getLocalPort(), "s3cret");

    Object[][] rows = jvm.sample(StandardTables.RUNTIME);

    assertThat(rows[0][0]).isEqualTo(ProcessHandle.current().pid());
    assertThat(rows[0][1]).isEqualTo("here");
  }

  @Test
  void aWrongPasswordIsReportedButNotShown() throws Exception {
    start(registrySocket.getLocalPort(), "gue55");

    assertThatThrownBy(() -> jvm.sample(StandardTables.RUNTIME))
        .isInstanceOf(TargetException.class)
        .hasMessageContaining("wrong user or password");

    Await.until("it is logged", () -> !log.errors().isEmpty());
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).doesNotContain("gue55").doesNotContain("\n");
    assertThat(jvm.status().lastError()).doesNotContain("gue55");
    assertThat(jvm.isPresent()).isFalse();
  }

  @Test
  void aTargetThatStartsAnewIsConnectedAgain() throws Exception {
    start(registrySocket.getLocalPort(), "s3cret");
    jvm.sample(StandardTables.RUNTIME);
    server.stop();
    assertThatThrownBy(() -> jvm.sample(StandardTables.RUNTIME))
        .isInstanceOf(TargetException.class);

    publish();
    jvm.retryNow();

    Await.until("it is up", () -> jvm.status().state() == TargetState.UP);
    assertThat(jvm.sample(StandardTables.RUNTIME)).hasSize(1);
  }

  @Test
  void aServerThatAcceptsAndSaysNothingIsGivenUpInTime() throws Exception {
    try (ServerSocket silent = new ServerSocket(0, 50, InetAddress.getLoopbackAddress())) {
      long start = System.nanoTime();
      start(silent.getLocalPort(), "s3cret");

      assertThatThrownBy(() -> jvm.sample(StandardTables.RUNTIME))
          .isInstanceOf(TargetException.class);

      assertThat((System.nanoTime() - start) / 1_000_000).isLessThan(4 * CALL_MILLIS);
      Await.until("the dial has ended", () -> jvm.status().state() == TargetState.DOWN);
    }
  }

  @Test
  void aStubThatLeadsToAnotherHostIsRefusedAndTold() throws Exception {
    // Made on a thread without a target, which dials nobody.
    PublishedStub honest = PublishedStub.parse(stubAddress());
    byte[] lure = honest.at(InetAddress.getByName("192.0.2.1"));
    CompletableFuture<Object> stub = new CompletableFuture<>();
    new Thread(() -> read(lure, stub)).start();
    registry.rebind("jmxrmi", (Remote) stub.get(60, TimeUnit.SECONDS));

    start(registrySocket.getLocalPort(), "s3cret");

    assertThatThrownBy(() -> jvm.sample(StandardTables.RUNTIME))
        .isInstanceOf(TargetException.class)
        .hasMessageContaining(
            "it leads to the host 192.0.2.1 instead of 127.0.0.1; list it in 'allowed_hosts'");
  }

  /** The server's stub as a text, as a JVM publishes that of its own agent. */
  private String stubAddress() throws Exception {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
      output.writeObject(registry.lookup("jmxrmi"));
    }
    return "service:jmx:rmi://127.0.0.1/stub/"
        + Base64.getEncoder().encodeToString(bytes.toByteArray());
  }

  private static void read(byte[] bytes, CompletableFuture<Object> object) {
    try (ObjectInputStream input = new ObjectInputStream(new ByteArrayInputStream(bytes))) {
      object.complete(input.readObject());
    } catch (IOException | ClassNotFoundException e) {
      object.completeExceptionally(e);
    }
  }

  private void start(int port, String password) throws Exception {
    Path file = Files.writeString(directory.resolve("password"), password + "\n");
    Files.setPosixFilePermissions(file, PosixFilePermissions.fromString("rw-------"));
    RemoteAddress address = RemoteAddress.of("127.0.0.1", port);
    jvm =
        new ConnectedJvm(
            new TargetIdentity(
                "here", TargetKind.REMOTE, "here", TargetStatus.UNKNOWN, address.url()),
            new TargetTimes(CALL_MILLIS, 2 * CALL_MILLIS, 30_000),
            new RemoteDialer("here", address, "ann", file, List.of(), TIMES, log),
            new Retry(60_000, 60_000, new Random(1)),
            watchdog,
            Clock.SYSTEM,
            log,
            new NoObserver());
    jvm.start();
  }
}
