package com.qrv.norvel.monitoring.fault;

import java.io.FilterOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.rmi.server.RMIServerSocketFactory;
import java.util.function.LongSupplier;

/** Server sockets on the loopback whose connections end after so many bytes. */
final class DroppingSockets implements RMIServerSocketFactory {
  private static final int BACKLOG = 50;

  private final LongSupplier limit;
  private volatile int port;

  /** @param limit the bytes that a connection may send, asked before each write, or OFF */
  DroppingSockets(LongSupplier limit) {
    this.limit = limit;
  }

  /** The port of the last server socket. */
  int port() {
    return port;
  }

  @Override
  public ServerSocket createServerSocket(int wished) throws IOException {
    ServerSocket server =
        new ServerSocket(wished, BACKLOG, InetAddress.getLoopbackAddress()) {
          @Override
          public Socket accept() throws IOException {
            Dropping socket = new Dropping();
            implAccept(socket);
            socket.accepted();
            return socket;
          }
        };
    port = server.getLocalPort();
    return server;
  }

  private final class Dropping extends Socket {
    private long sent; // guarded by this

    void accepted() throws IOException {
      if (limit.getAsLong() == 0) {
        close();
      }
    }

    @Override
    public OutputStream getOutputStream() throws IOException {
      return new FilterOutputStream(super.getOutputStream()) {
        @Override
        public void write(int value) throws IOException {
          write(new byte[] {(byte) value}, 0, 1);
        }

        @Override
        public void write(byte[] bytes, int offset, int length) throws IOException {
          int allowed = allowed(length);
          out.write(bytes, offset, allowed);
          if (allowed < length) {
            out.flush();
            Dropping.this.close();
            throw new IOException("the fault target drops this connection");
          }
        }
      };
    }

    private synchronized int allowed(int length) {
      long most = limit.getAsLong();
      int allowed = most == Setting.OFF ? length : (int) Math.max(0, Math.min(length, most - sent));
      sent += allowed;
      return allowed;
    }
  }
}
