package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.IOException;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

final class WarmSocketTest {
  private static final byte PING = 0x52;
  private static final byte PING_ACK = 0x53;

  private static final long FOREVER = Long.MAX_VALUE;

  private ServerSocket listener;
  private Socket socket;
  private Socket server;

  @BeforeEach
  void listen() throws IOException {
    listener = new ServerSocket(0, 1, InetAddress.getLoopbackAddress());
    connect(FOREVER);
  }

  private void connect(long warmNanos) throws IOException {
    socket = new WarmSocket(warmNanos);
    socket.connect(listener.getLocalSocketAddress());
    server = listener.accept();
  }

  @AfterEach
  void close() throws IOException {
    socket.close();
    server.close();
    listener.close();
  }

  @Test
  void aConnectionThatHasJustAnsweredIsNotAsked() throws IOException {
    exchange();

    write(PING);
    assertThat(socket.getInputStream().available()).isEqualTo(1);
    assertThat(read(socket)).isEqualTo(PING_ACK);

    write((byte) 9);
    assertThat(read(server)).as("the first byte after the exchange").isEqualTo((byte) 9);
  }

  @Test
  void aConnectionThatHasBeenQuietForLongIsAsked() throws IOException {
    close();
    listener = new ServerSocket(0, 1, InetAddress.getLoopbackAddress());
    connect(0);
    exchange();

    write(PING);

    assertThat(read(server)).isEqualTo(PING);
  }

  @Test
  void aConnectionThatHasNeverAnsweredIsAsked() throws IOException {
    write(PING);

    assertThat(read(server)).isEqualTo(PING);
  }

  @Test
  void theSameByteWithinAMessageIsSent() throws IOException {
    exchange();

    write((byte) 1);
    write(PING);

    assertThat(read(server)).isEqualTo((byte) 1);
    assertThat(read(server)).isEqualTo(PING);
  }

  @Test
  void aConnectionThatHasEndedIsAsked() throws IOException {
    exchange();
    server.shutdownOutput();
    assertThat(socket.getInputStream().read()).isEqualTo(-1);

    write(PING);

    assertThat(read(server)).isEqualTo(PING);
  }

  private void exchange() throws IOException {
    write((byte) 1);
    assertThat(read(server)).isEqualTo((byte) 1);
    server.getOutputStream().write(2);
    assertThat(read(socket)).isEqualTo((byte) 2);
  }

  private void write(byte single) throws IOException {
    socket.getOutputStream().write(new byte[] {single}, 0, 1);
  }

  private static byte read(Socket from) throws IOException {
    byte[] buffer = new byte[10];
    assertThat(from.getInputStream().read(buffer, 0, 1)).isEqualTo(1);
    return buffer[0];
  }
}
