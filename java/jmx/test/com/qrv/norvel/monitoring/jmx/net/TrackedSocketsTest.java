package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.net.SocketException;
import java.net.SocketTimeoutException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

final class TrackedSocketsTest {
  private static final Route ANYWHERE = (host, port) -> InetAddress.getByName(host);

  private final TrackedSockets factory = new TrackedSockets(5000, 60_000, 1000);
  private final TargetSockets target = new TargetSockets(factory);
  private ServerSocket silent;

  @BeforeEach
  void listen() throws IOException {
    silent = new ServerSocket(0, 50, InetAddress.getLoopbackAddress());
    target.lead(ANYWHERE);
    target.adoptThread();
  }

  @AfterEach
  void close() throws IOException {
    silent.close();
    new TargetSockets(factory).adoptThread();
  }

  @Test
  void anAnswerIsReadUpToItsBoundAndTheNextOneAgain() throws Exception {
    Socket socket = dial();
    try (Socket server = silent.accept()) {
      server.getOutputStream().write(new byte[1000]);
      assertThat(socket.getInputStream().readNBytes(1000)).hasSize(1000);
      socket.getOutputStream().write(1);
      server.getOutputStream().write(new byte[1001]);

      assertThatThrownBy(() -> socket.getInputStream().readNBytes(1001))
          .isInstanceOf(RefusedAnswerException.class)
          .hasMessage("the answer has more than 1000 bytes");
      assertThat(socket.isClosed()).isTrue();
    }
  }

  @Test
  void aCutEndsAReadThatHangs() throws Exception {
    Socket socket = dial();
    CompletableFuture<Throwable> end = new CompletableFuture<>();
    Thread reader =
        new Thread(
            () -> {
              try {
                end.complete(new AssertionError("read " + socket.getInputStream().read()));
              } catch (IOException e) {
                end.complete(e);
              }
            });
    reader.start();

    target.cut();

    assertThat(end.get(10, TimeUnit.SECONDS)).isInstanceOf(SocketException.class);
    assertThat(factory.openCount()).isZero();
  }

  @Test
  void aCutAlsoClosesWhatOtherThreadsOpenedToTheSameEndpoint() throws Exception {
    dial();
    CompletableFuture<Socket> other = new CompletableFuture<>();
    Thread housekeeping =
        new Thread(
            () -> {
              try {
                other.complete(dial());
              } catch (IOException e) {
                other.completeExceptionally(e);
              }
            });
    housekeeping.start();
    Socket theirs = other.get(10, TimeUnit.SECONDS);

    target.cut();

    assertThat(theirs.isClosed()).isTrue();
  }

  @Test
  void aTargetMayBeSilentForLongerWhenItHasMoreToDo() throws Exception {
    try (Socket before = dial()) {
      target.bear(100_000);

      try (Socket after = dial()) {
        assertThat(before.getSoTimeout()).isEqualTo(105_000);
        assertThat(after.getSoTimeout()).isEqualTo(105_000);
        target.bear(1000);
        assertThat(before.getSoTimeout()).isEqualTo(60_000);
        assertThat(after.getSoTimeout()).isEqualTo(60_000);
      }
    }
  }

  @Test
  void aCutLeavesOtherTargetsAlone() throws Exception {
    try (ServerSocket second = new ServerSocket(0, 50, InetAddress.getLoopbackAddress())) {
      Socket mine = dial();
      TargetSockets other = new TargetSockets(factory);
      other.lead(ANYWHERE);
      other.adoptThread();
      try (Socket others = factory.createSocket("127.0.0.1", second.getLocalPort())) {
        target.cut();

        assertThat(mine.isClosed()).isTrue();
        assertThat(others.isClosed()).isFalse();
      }
    }
  }

  @Test
  void afterACutTheTargetDialsOnlyWhenItIsAllowedTo() throws Exception {
    target.cut();
    assertThatThrownBy(this::dial).isInstanceOf(IOException.class).hasMessageContaining("overdue");

    target.allow();
    try (Socket socket = dial()) {
      assertThat(socket.isConnected()).isTrue();
    }
  }

  @Test
  void nothingIsKeptOfClosedOrFailedSockets() throws Exception {
    dial().close();
    int port = silent.getLocalPort();
    silent.close();
    assertThatThrownBy(() -> factory.createSocket("127.0.0.1", port))
        .isInstanceOf(IOException.class);

    assertThat(factory.openCount()).isZero();
  }

  @Test
  void silenceEndsAReadEvenWithoutAWatchdog() throws Exception {
    TrackedSockets impatient = new TrackedSockets(5000, 20, 1000);
    target.adoptThread();
    try (Socket socket = impatient.createSocket("127.0.0.1", silent.getLocalPort())) {
      assertThatThrownBy(() -> socket.getInputStream().read())
          .isInstanceOf(SocketTimeoutException.class);
    }
  }

  @Test
  void anEndpointIsDialledAtTheAddressThatTheRouteGives() throws Exception {
    target.lead((host, port) -> InetAddress.getLoopbackAddress());

    try (Socket socket = factory.createSocket("far.invalid", silent.getLocalPort())) {
      assertThat(socket.getInetAddress().isLoopbackAddress()).isTrue();
    }
  }

  @Test
  void whereTheRouteDoesNotLeadNobodyDials() throws Exception {
    target.lead(
        (host, port) -> {
          throw new IOException("not there");
        });

    assertThatThrownBy(this::dial).hasMessage("not there");
    CompletableFuture<Throwable> housekeeping = new CompletableFuture<>();
    new Thread(
            () -> {
              try {
                housekeeping.complete(new AssertionError("dialled " + dial()));
              } catch (IOException e) {
                housekeeping.complete(e);
              }
            })
        .start();
    assertThat(housekeeping.get(10, TimeUnit.SECONDS))
        .isInstanceOf(IOException.class)
        .hasMessageStartingWith("no target's connections lead to");
    silent.setSoTimeout(1);
    assertThatThrownBy(silent::accept).isInstanceOf(SocketTimeoutException.class);
  }

  @Test
  void aTargetWithoutARouteDialsNothing() {
    new TargetSockets(factory).adoptThread();

    assertThatThrownBy(this::dial).hasMessageContaining("no route");
  }

  private Socket dial() throws IOException {
    return factory.createSocket("127.0.0.1", silent.getLocalPort());
  }
}
