package com.qrv.norvel.monitoring.toolkit.agent;

/** The kinds of value that a column holds. */
public enum ColumnType {
  /** Signed 16-bit integer. -32768 means "not available". */
  INT16(5, Short.MIN_VALUE + 1, Short.MAX_VALUE),
  /** Signed 32-bit integer. -2147483648 means "not available". */
  INT32(1, Integer.MIN_VALUE + 1, Integer.MAX_VALUE),
  /** Signed 64-bit integer. The least value means "not available". */
  INT64(3, Long.MIN_VALUE + 1, Long.MAX_VALUE),
  /** Characters of a fixed width in bytes, padded with blanks. All blank: "not available". */
  CHARACTERS(9, 0, 0),
  /** UTF-8 text of at most a width in bytes, padded with zeros. Empty: "not available". */
  UTF8(12, 0, 0);

  private final int code;
  private final long min;
  private final long max;

  ColumnType(int code, long min, long max) {
    this.code = code;
    this.min = min;
    this.max = max;
  }

  /** The number that stands for this type when a table is registered. */
  public int code() {
    return code;
  }

  public boolean isText() {
    return this == CHARACTERS || this == UTF8;
  }

  /** The least value that a row may state; integers only. */
  public long min() {
    return min;
  }

  /** The greatest value that a row may state; integers only. */
  public long max() {
    return max;
  }
}
