package com.qrv.norvel.monitoring.jmx.link;

import javax.management.ObjectName;

/** One bean of a table at one connection, with the last value of each attribute. */
final class KnownBean {
  private final ObjectName name;
  private Object[] values; // null until they are read
  private long readMillis; // when all of them were

  KnownBean(ObjectName name) {
    this.name = name;
  }

  ObjectName name() {
    return name;
  }

  /** Whether all attributes have to be read, because values that are read seldom are too old. */
  boolean isDue(long nowMillis, long seldomMillis) {
    return values == null || nowMillis - readMillis >= seldomMillis;
  }

  /** Keeps the values of all attributes. */
  void keep(Object[] all, long nowMillis) {
    values = all;
    readMillis = nowMillis;
  }

  /** The last value of each attribute; not to be changed. */
  Object[] values() {
    return values;
  }

  /** Whether an attribute had this value when all were read. */
  boolean has(String value) {
    for (Object each : values) {
      if (value.equals(each)) {
        return true;
      }
    }
    return false;
  }

  /** The last values of all attributes, with new ones of those at the given places. */
  Object[] with(Object[] some, int[] places) {
    Object[] row = values.clone();
    for (int i = 0; i < places.length; i++) {
      row[places[i]] = some[i];
    }
    return row;
  }
}
