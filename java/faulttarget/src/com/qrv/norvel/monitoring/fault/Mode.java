package com.qrv.norvel.monitoring.fault;

/** A way to misbehave. Some are on or off, the others take a number. */
enum Mode {
  HANG("hang", "reads of attributes block until hang=off"),
  SLOW("slow", "MS", 1, 3_600_000, "each read of an attribute takes this long"),
  DROP("drop", "BYTES", 0, 1 << 30,
      "connections to the JMX port are closed after this many bytes; 0: at once"),
  BEANS("beans", "N", 1, 1_000_000, "this many MBeans zel.fault:type=Bean,name=*"),
  POOLS("pools", "N", 1, 1_000_000, "this many MBeans java.nio:type=BufferPool,name=fault-*"),
  THROW("throw", "some attributes throw or have a value of an unknown class"),
  NEST("nest", "some attributes have lists in lists and sets in sets as values"),
  DIGITS("digits", "some attributes have numbers that are too long, or infinite"),
  NAMES("names", "N", 1, 10_000,
      "this many MBeans java.nio:type=BufferPool with names of 5,000 characters, new at each look"),
  RESTART("restart", "SECONDS", 1, 86_400, "ends abruptly and starts again, over and over"),
  GC("gc", "MS", 1, 3_600_000, "allocates and collects garbage this often"),
  NOTIFY("notify", "PER_SECOND", 1, 100_000,
      "zel.fault:type=Notifier sends this many notifications");

  private final String text;
  private final String unit;
  private final long min;
  private final long max;
  private final String does;

  Mode(String text, String does) {
    this(text, "", 0, 0, does);
  }

  Mode(String text, String unit, long min, long max, String does) {
    this.text = text;
    this.unit = unit;
    this.min = min;
    this.max = max;
    this.does = does;
  }

  /** The name by which users know it. */
  String text() {
    return text;
  }

  boolean hasNumber() {
    return !unit.isEmpty();
  }

  long min() {
    return min;
  }

  long max() {
    return max;
  }

  /** How it is switched on: "slow=MS". */
  String usage() {
    return hasNumber() ? text + '=' + unit : text;
  }

  /** What it does, in a few words. */
  String does() {
    return does;
  }

  static Mode find(String text) {
    for (Mode mode : values()) {
      if (mode.text.equals(text)) {
        return mode;
      }
    }
    return null;
  }
}
