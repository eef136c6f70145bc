package com.qrv.norvel.monitoring.jmx.process;

import java.io.IOException;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.HashMap;
import java.util.Map;

/**
 * The texts that a JVM publishes of itself.
 *
 * <p>Its file begins with a head of 32 bytes: a magic number, the byte order, the version, and
 * whether the rest is ready to be read; the bytes in use, the place of the first entry and the
 * number of entries. An entry has a head of 20 bytes, a name and a value, each of which lies within
 * the entry as the entry lies within the bytes in use. Whatever does not is an error.
 */
public final class PerfData {
  /** The main class or jar with its arguments. */
  public static final String COMMAND = "sun.rt.javaCommand";

  /** A text of ones and zeros, the first of which says whether attaching is allowed. */
  public static final String CAPABILITIES = "sun.rt.jvmCapabilities";

  /** Where the management agent that local tools use answers; once it runs. */
  public static final String ADDRESS = "sun.management.JMXConnectorServer.address";

  static final int MIN_BYTES = 32;

  private static final int MAGIC = 0xcafec0c0;
  private static final int MAJOR = 2;
  private static final int ENTRY_HEAD = 20;
  private static final byte BYTES = 'B';
  private static final byte TEXT = 5;

  private final Map<String, String> texts;

  private PerfData(Map<String, String> texts) {
    this.texts = texts;
  }

  /** The text of that name; null when the JVM has not published it. */
  public String text(String name) {
    return texts.get(name);
  }

  /**
   * Reads what was published.
   *
   * @return null when the JVM has only begun to publish itself
   * @throws IOException when it is not what a JVM publishes
   */
  static PerfData parse(byte[] content) throws IOException {
    try {
      ByteBuffer data = ByteBuffer.wrap(content);
      if (data.getInt() != MAGIC) {
        throw new IOException("it does not begin as the data of a JVM does");
      }
      data.order(data.get() == 0 ? ByteOrder.BIG_ENDIAN : ByteOrder.LITTLE_ENDIAN);
      byte major = data.get();
      data.get(); // the minor version only adds
      if (data.get() != 1) {
        return null;
      }
      if (major != MAJOR) {
        throw new IOException("its format has the unknown version " + major);
      }
      data.limit(within(data.getInt(), MIN_BYTES, content.length));
      data.getInt(); // bytes that found no room
      data.getLong(); // when it was changed
      int place = data.getInt();
      int count = data.getInt();
      return new PerfData(entries(data, place, count));
    } catch (BufferUnderflowException | IndexOutOfBoundsException e) {
      throw new IOException("the data of the JVM are damaged", e);
    }
  }

  private static Map<String, String> entries(ByteBuffer data, int first, int count) {
    Map<String, String> texts = new HashMap<>();
    int place = first;
    // Each entry moves the place on, so a false count can't make this longer than the data.
    for (int i = 0; i < count; i++) {
      int length = within(data.getInt(place), ENTRY_HEAD, data.limit() - place);
      ByteBuffer entry = data.slice(place, length).order(data.order());
      int nameAt = within(entry.getInt(4), ENTRY_HEAD, length);
      int valueLength = within(entry.getInt(8), 0, length);
      boolean isText = entry.get(12) == BYTES && entry.get(14) == TEXT;
      int valueAt = within(entry.getInt(16), ENTRY_HEAD, length - valueLength);
      if (isText) {
        String name = text(entry, nameAt, length - nameAt);
        if (isWanted(name)) {
          texts.put(name, text(entry, valueAt, valueLength));
        }
      }
      place += length;
    }
    return texts;
  }

  private static boolean isWanted(String name) {
    return name.equals(COMMAND) || name.equals(CAPABILITIES) || name.equals(ADDRESS);
  }

  private static int within(int value, int low, int high) {
    if (value < low || value > high) {
      throw new IndexOutOfBoundsException(value);
    }
    return value;
  }

  /** Texts end at a zero byte, or with their room. */
  private static String text(ByteBuffer entry, int from, int room) {
    byte[] bytes = new byte[room];
    entry.get(from, bytes);
    int length = 0;
    while (length < room && bytes[length] != 0) {
      length++;
    }
    return new String(bytes, 0, length, StandardCharsets.UTF_8);
  }
}
