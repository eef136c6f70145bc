package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.util.Arrays;
import javax.management.ObjectName;

/**
 * One bean of a table at one connection, with the last value of each attribute. An attribute that
 * could not be read is left alone for a while, longer after each failure in a row, and then tried
 * again by itself, so that it spoils nothing.
 */
final class KnownBean {
  /** The first pause after a failure; it doubles. */
  static final long MIN_PAUSE_MILLIS = 5000;

  static final long MAX_PAUSE_MILLIS = 30_000;

  private final ObjectName name;
  private final Object[] values; // null until it is read
  private final int[] failures; // in a row
  private final long[] dueMillis; // of those that failed
  private long readMillis; // when all of them were
  private boolean isRead;
  private boolean isGone;

  /** @param attributes how many it has */
  KnownBean(ObjectName name, int attributes) {
    this.name = name;
    values = new Object[attributes];
    failures = new int[attributes];
    dueMillis = new long[attributes];
  }

  ObjectName name() {
    return name;
  }

  /** Whether all attributes have to be read, because values that are read seldom are too old. */
  boolean isDue(long nowMillis, long seldomMillis) {
    return !isRead || nowMillis - readMillis >= seldomMillis;
  }

  void allAreRead(long nowMillis) {
    isRead = true;
    readMillis = nowMillis;
  }

  void keep(int place, Object value) {
    values[place] = value;
    failures[place] = 0;
  }

  /** Whether it had a value when it was last read, so that it may be read together with others. */
  boolean isSound(int place) {
    return failures[place] == 0;
  }

  /** Whether an attribute that failed is to be tried again. */
  boolean isRetryDue(int place, long nowMillis) {
    return failures[place] > 0 && nowMillis >= dueMillis[place];
  }

  /**
   * Notes that an attribute could not be read.
   *
   * @return whether it is the first time in a row
   */
  boolean fail(int place, long nowMillis) {
    values[place] = Unavailable.NOTHING;
    long pause = MIN_PAUSE_MILLIS << Math.min(failures[place], 10);
    dueMillis[place] = nowMillis + Math.min(pause, MAX_PAUSE_MILLIS);
    failures[place]++;
    return failures[place] == 1;
  }

  /** There was no time for it: it is due at once. */
  void postpone(int place, long nowMillis) {
    values[place] = Unavailable.NOTHING;
    failures[place] = Math.max(1, failures[place]);
    dueMillis[place] = nowMillis;
  }

  /** The last value of each attribute. */
  Object[] row() {
    Object[] row = values.clone();
    for (int i = 0; i < row.length; i++) {
      if (row[i] == null) {
        row[i] = Unavailable.NOTHING;
      }
    }
    return row;
  }

  /** Whether an attribute had this value when it was last read. */
  boolean has(String value) {
    return Arrays.asList(values).contains(value);
  }

  /** It is not there any more; one of the same name is another one. */
  void leave() {
    isGone = true;
  }

  boolean isGone() {
    return isGone;
  }
}
