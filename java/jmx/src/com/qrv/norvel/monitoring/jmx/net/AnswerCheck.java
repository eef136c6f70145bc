package com.qrv.norvel.monitoring.jmx.net;

import java.io.BufferedInputStream;
import java.io.FilterOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.Socket;

/**
 * Stands between a client's socket and RMI, and lets RMI have an answer only after {@link
 * SerialForm} has read all of it. What is refused closes the socket: RMI would take the rest of it
 * for the next answer.
 *
 * <p>An answer is what is read until the next thing is written. RMI never gets a byte beyond the
 * part that it waits for, so nothing can be sent ahead that would pass unchecked.
 */
final class AnswerCheck {
  // What the other side may begin with.
  private static final int PROTOCOL_ACK = 0x4E;
  private static final int RETURN = 0x51;

  private final Socket socket;
  private final long maxBytes;

  // RMI gives a connection to one thread at a time, and hands it on under a lock.
  private AnswerTape tape; // null until something is read
  private SerialForm answer; // null unless one has begun
  private boolean failed;

  /** @param maxBytes how long an answer may be */
  AnswerCheck(Socket socket, long maxBytes) {
    this.socket = socket;
    this.maxBytes = maxBytes;
  }

  InputStream checked(InputStream input) {
    tape = new AnswerTape(new BufferedInputStream(input), maxBytes);
    return new Answers();
  }

  OutputStream noting(OutputStream output) {
    return new Questions(output);
  }

  /**
   * Records the next part that RMI waits for.
   *
   * @return false at the end of what the other side sends
   */
  private boolean record() throws IOException {
    if (failed) {
      throw new IOException("the connection has failed before");
    }
    boolean isSound = false;
    try {
      tape.rewind();
      boolean isThere = answer == null ? recordBegin() : answer.readContent();
      isSound = true;
      return isThere;
    } finally {
      if (!isSound) {
        failed = true;
        tape.rewind(); // nobody gets what was recorded of it
        socket.close();
      }
    }
  }

  private boolean recordBegin() throws IOException {
    int kind = tape.readOrEnd();
    if (kind == RETURN) {
      answer = SerialForm.begin(tape, RmiSetup.elements(maxBytes));
    } else if (kind == PROTOCOL_ACK) {
      // The host and the port that the other side sees.
      tape.skip(tape.readShort());
      tape.skip(Integer.BYTES);
    }
    // All else is one byte long, or nothing that RMI goes on with.
    return kind >= 0;
  }

  private void beginQuestion() {
    answer = null;
    if (tape != null) {
      tape.beginAnswer();
    }
  }

  private final class Answers extends InputStream {
    @Override
    public int read(byte[] bytes, int offset, int length) throws IOException {
      if (length == 0) {
        return 0;
      }
      if (tape.unplayed() == 0 && !record()) {
        return -1;
      }
      return tape.play(bytes, offset, length);
    }

    @Override
    public int read() throws IOException {
      byte[] single = new byte[1];
      return read(single, 0, 1) < 0 ? -1 : single[0] & 0xFF;
    }

    @Override
    public int available() {
      return tape.unplayed();
    }

    @Override
    public void close() throws IOException {
      socket.close();
    }
  }

  private final class Questions extends FilterOutputStream {
    Questions(OutputStream output) {
      super(output);
    }

    @Override
    public void write(int value) throws IOException {
      beginQuestion();
      out.write(value);
    }

    @Override
    public void write(byte[] bytes, int offset, int length) throws IOException {
      beginQuestion();
      out.write(bytes, offset, length);
    }
  }
}
