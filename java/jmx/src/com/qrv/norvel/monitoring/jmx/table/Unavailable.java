package com.qrv.norvel.monitoring.jmx.table;

/** Stands in a cell, or for an attribute, that has no value; the rest of the row is unaffected. */
public final class Unavailable {
  /** No value, and nothing wrong: the JVM has none to give, so nobody needs to hear of it. */
  public static final Unavailable NOTHING = new Unavailable("");

  private final String reason;

  private Unavailable(String reason) {
    this.reason = reason;
  }

  /** A value that should have been there. */
  public static Unavailable because(String reason) {
    return new Unavailable(reason);
  }

  /** Why, as a part of a sentence; empty when there is nothing wrong. */
  public String reason() {
    return reason;
  }

  public boolean isFault() {
    return !reason.isEmpty();
  }

  @Override
  public String toString() {
    return reason;
  }
}
