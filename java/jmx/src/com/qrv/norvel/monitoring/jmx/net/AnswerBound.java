package com.qrv.norvel.monitoring.jmx.net;

import java.io.FilterInputStream;
import java.io.FilterOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.Socket;

/**
 * Bounds what is read from a socket until the next thing is written to it: with RMI, an answer. The
 * filter of deserialization can't do that: it is not asked about texts and the content of arrays.
 */
final class AnswerBound {
  private final Socket socket;
  private final long maxBytes;
  private volatile long taken; // Reads and writes take turns, though on different threads.

  AnswerBound(Socket socket, long maxBytes) {
    this.socket = socket;
    this.maxBytes = maxBytes;
  }

  InputStream bounded(InputStream input) {
    return new Input(input);
  }

  OutputStream noting(OutputStream output) {
    return new Output(output);
  }

  private void took(long bytes) throws IOException {
    long sum = taken + Math.max(0, bytes);
    taken = sum;
    if (sum > maxBytes) {
      // What follows would be taken for the next answer.
      socket.close();
      throw new OversizedAnswerException(maxBytes);
    }
  }

  private final class Input extends FilterInputStream {
    Input(InputStream input) {
      super(input);
    }

    @Override
    public int read() throws IOException {
      int value = in.read();
      took(value < 0 ? 0 : 1);
      return value;
    }

    @Override
    public int read(byte[] bytes, int offset, int length) throws IOException {
      int count = in.read(bytes, offset, length);
      took(count);
      return count;
    }
  }

  private final class Output extends FilterOutputStream {
    Output(OutputStream output) {
      super(output);
    }

    @Override
    public void write(int value) throws IOException {
      taken = 0;
      out.write(value);
    }

    @Override
    public void write(byte[] bytes, int offset, int length) throws IOException {
      taken = 0;
      out.write(bytes, offset, length);
    }
  }
}
