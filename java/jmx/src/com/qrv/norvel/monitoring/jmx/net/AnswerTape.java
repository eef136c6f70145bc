package com.qrv.norvel.monitoring.jmx.net;

import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.util.Arrays;

/** The bytes of a part of an answer: recorded while they are checked, then played to RMI. */
final class AnswerTape {
  private static final int FIRST_SIZE = 1024;
  private static final int KEPT_SIZE = 64 * 1024;

  private final InputStream in;
  private final long maxBytes;
  private byte[] bytes = new byte[FIRST_SIZE];
  private int recorded;
  private int played;
  private long answerBytes;

  /**
   * @param in buffered, because it is read byte by byte
   * @param maxBytes how long an answer may be
   */
  AnswerTape(InputStream in, long maxBytes) {
    this.in = in;
    this.maxBytes = maxBytes;
  }

  /** What is recorded from now on belongs to another answer. */
  void beginAnswer() {
    answerBytes = 0;
  }

  int unplayed() {
    return recorded - played;
  }

  int play(byte[] target, int offset, int length) {
    int count = Math.min(length, unplayed());
    System.arraycopy(bytes, played, target, offset, count);
    played += count;
    return count;
  }

  /** Makes room for the next part. */
  void rewind() {
    recorded = 0;
    played = 0;
    if (bytes.length > KEPT_SIZE) {
      bytes = new byte[FIRST_SIZE];
    }
  }

  /** Records a byte; -1 at the end. */
  int readOrEnd() throws IOException {
    int value = in.read();
    if (value >= 0) {
      reserve(1);
      bytes[recorded++] = (byte) value;
    }
    return value;
  }

  int readByte() throws IOException {
    int value = readOrEnd();
    if (value < 0) {
      throw new EOFException("an answer ends in the middle");
    }
    return value;
  }

  int readShort() throws IOException {
    return readByte() << 8 | readByte();
  }

  int readInt() throws IOException {
    return readShort() << 16 | readShort();
  }

  long readLong() throws IOException {
    return (long) readInt() << 32 | readInt() & 0xFFFF_FFFFL;
  }

  /** Records bytes whose values do not matter. */
  void skip(long count) throws IOException {
    reserve(count);
    int end = recorded + (int) count;
    while (recorded < end) {
      int got = in.read(bytes, recorded, end - recorded);
      if (got < 0) {
        throw new EOFException("an answer ends in the middle");
      }
      recorded += got;
    }
  }

  /** Records text of so many bytes; gives it with one char for each, as names of classes are. */
  String readName(int count) throws IOException {
    skip(count);
    char[] name = new char[count];
    for (int i = 0; i < count; i++) {
      name[i] = (char) (bytes[recorded - count + i] & 0xFF);
    }
    return new String(name);
  }

  /** Bounds what is announced before it takes room. */
  private void reserve(long count) throws RefusedAnswerException {
    if (count < 0 || count > maxBytes - answerBytes) {
      throw new RefusedAnswerException("the answer has more than " + maxBytes + " bytes");
    }
    answerBytes += count;
    int needed = recorded + (int) count;
    if (needed > bytes.length) {
      long roomy = Math.min(2L * bytes.length, maxBytes);
      bytes = Arrays.copyOf(bytes, (int) Math.max(needed, roomy));
    }
  }
}
