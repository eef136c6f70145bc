package com.qrv.norvel.monitoring.jmx.table;

/** How often an attribute is read of another JVM, where each value costs a part of a call. */
public enum Rhythm {
  /** For each sample. */
  EACH_SAMPLE,
  /** It hardly changes, or is expensive for what it tells: an earlier value is good for a while. */
  SELDOM
}
