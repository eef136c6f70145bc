package com.qrv.norvel.monitoring.jmx.monitored;

/** A target did not do what it was asked for; the message says which, and why. */
public final class TargetException extends Exception {
  private static final long serialVersionUID = 1L;

  /** What has become of the work. */
  public enum Outcome {
    /** It has not begun, and will not. */
    NOT_DONE,
    /** The target has answered, and refused. */
    REFUSED,
    /** It has begun, and nobody knows how it ends. */
    UNKNOWN
  }

  private final Outcome outcome;

  /** The target is down, or has no time for it. */
  public TargetException(String message) {
    this(message, Outcome.NOT_DONE);
  }

  public TargetException(String message, Outcome outcome) {
    super(message);
    this.outcome = outcome;
  }

  public Outcome outcome() {
    return outcome;
  }
}
