package com.qrv.norvel.monitoring.jmx.net;

import java.io.FilterInputStream;
import java.io.FilterOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.Socket;

/**
 * A client's RMI socket that answers for the other side when RMI asks whether a connection is still
 * alive that has just been used.
 *
 * <p>RMI asks before every call, unless the last answer is younger than the round trip in whole
 * milliseconds, which is 0 to a JVM nearby: each call would cost two round trips. A connection that
 * has gone meanwhile fails the call itself, which the target's thread handles like any failure.
 */
class WarmSocket extends Socket {
  // The question and its answer are one byte each. Every other message begins with another byte,
  // and a message begins with the first write after a read.
  private static final byte PING = 0x52;
  private static final byte PING_ACK = 0x53;

  /** So long after its last answer a connection counts as alive. */
  private static final long WARM_NANOS = 3_000_000_000L;

  private final long warmNanos;

  // RMI gives a connection to one thread at a time, and hands it on under a lock.
  private boolean hasAnswered; // nothing has been written since the last read
  private boolean owesAck;
  private long answeredNanos;
  private InputStream in;
  private OutputStream out;

  WarmSocket() {
    this(WARM_NANOS);
  }

  /** @param warmNanos so long after its last answer it counts as alive */
  WarmSocket(long warmNanos) {
    this.warmNanos = warmNanos;
  }

  @Override
  public InputStream getInputStream() throws IOException {
    if (in == null) {
      in = new Answers(super.getInputStream());
    }
    return in;
  }

  @Override
  public OutputStream getOutputStream() throws IOException {
    if (out == null) {
      out = new Questions(super.getOutputStream());
    }
    return out;
  }

  private final class Questions extends FilterOutputStream {
    Questions(OutputStream socket) {
      super(socket);
    }

    @Override
    public void write(byte[] bytes, int offset, int length) throws IOException {
      boolean isPing = length == 1 && bytes[offset] == PING && hasAnswered;
      if (isPing && !isClosed() && System.nanoTime() - answeredNanos < warmNanos) {
        owesAck = true;
        return;
      }
      hasAnswered = false;
      out.write(bytes, offset, length);
    }

    @Override
    public void write(int single) throws IOException {
      write(new byte[] {(byte) single}, 0, 1);
    }
  }

  private final class Answers extends FilterInputStream {
    Answers(InputStream socket) {
      super(socket);
    }

    @Override
    public int read(byte[] bytes, int offset, int length) throws IOException {
      if (owesAck && length > 0) {
        owesAck = false;
        bytes[offset] = PING_ACK;
        return 1;
      }
      int count = in.read(bytes, offset, length);
      hasAnswered = count > 0;
      answeredNanos = System.nanoTime();
      return count;
    }

    @Override
    public int read() throws IOException {
      byte[] single = new byte[1];
      return read(single, 0, 1) < 0 ? -1 : single[0] & 0xff;
    }

    @Override
    public int available() throws IOException {
      return owesAck ? 1 : in.available();
    }
  }
}
