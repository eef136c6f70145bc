package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Makes columns.
 *
 * <p>A name has 1 to 31 characters: an upper-case ASCII letter, then upper-case letters, digits and
 * underscores. Anything else is an {@link IllegalArgumentException}, and so is a width out of
 * range.
 */
public final class Columns {
  /** The widest text column, in bytes. */
  public static final int MAX_TEXT_SIZE = 16384;

  private Columns() {}

  /** A signed 16-bit integer. */
  public static Column int16(String name) {
    return new Column(name, ColumnType.INT16, Short.BYTES);
  }

  /** A signed 32-bit integer. */
  public static Column int32(String name) {
    return new Column(name, ColumnType.INT32, Integer.BYTES);
  }

  /** A signed 64-bit integer. */
  public static Column int64(String name) {
    return new Column(name, ColumnType.INT64, Long.BYTES);
  }

  /**
   * Characters of a fixed width, padded with blanks: for keys and codes whose trailing blanks mean
   * nothing.
   *
   * @param size width in bytes, 1 to {@link #MAX_TEXT_SIZE}
   */
  public static Column characters(String name, int size) {
    return new Column(name, ColumnType.CHARACTERS, checkedSize(name, size));
  }

  /**
   * UTF-8 text, padded with zeros: for everything that people read.
   *
   * @param size greatest length in bytes, 1 to {@link #MAX_TEXT_SIZE}
   */
  public static Column utf8(String name, int size) {
    return new Column(name, ColumnType.UTF8, checkedSize(name, size));
  }

  private static int checkedSize(String name, int size) {
    if (size < 1 || size > MAX_TEXT_SIZE) {
      throw new IllegalArgumentException(
          "column " + name + ": size " + size + " is not in 1 to " + MAX_TEXT_SIZE + " bytes");
    }
    return size;
  }
}
