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
  private final TrackedSockets factory = new TrackedSockets(5000, 60_000, 1000);
  private final TargetSockets target = new TargetSockets(factory);
  private ServerSocket silent;

  @BeforeEach
  void listen() throws IOException {
    silent = new ServerSocket(0, 50, InetAddress.getLoopbackAddress());
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
    target.adoptThread();
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
    target.adoptThread();
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
    target.adoptThread();
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
      target.adoptThread();
      Socket mine = dial();
      new TargetSockets(factory).adoptThread();
      try (Socket others = factory.createSocket("127.0.0.1", second.getLocalPort())) {
        target.cut();

        assertThat(mine.isClosed()).isTrue();
        assertThat(others.isClosed()).isFalse();
      }
    }
  }

  @Test
  void afterACutTheTargetDialsOnlyWhenItIsAllowedTo() throws Exception {
    target.adoptThread();
    target.cut();
    assertThatThrownBy(this::dial).isInstanceOf(IOException.class).hasMessageContaining("overdue");

    target.allow();
    try (Socket socket = dial()) {
      assertThat(socket.isConnected()).isTrue();
    }
  }

  @Test
  void nothingIsKeptOfClosedOrFailedSockets() throws Exception {
    target.adoptThread();
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
    try (Socket socket = impatient.createSocket("127.0.0.1", silent.getLocalPort())) {
      assertThatThrownBy(() -> socket.getInputStream().read())
          .isInstanceOf(SocketTimeoutException.class);
    }
  }

  private Socket dial() throws IOException {
    return factory.createSocket("127.0.0.1", silent.getLocalPort());
  }
}
