package com.qrv.norvel.monitoring.jmx.target;

/** A target did not do what it was asked for; the message says which, and why. */
public final class TargetException extends Exception {
  private static final long serialVersionUID = 1L;

  private final boolean refusal;

  /** The target is down, or did not answer in time. */
  public TargetException(String message) {
    this(message, false);
  }

  /** @param refusal whether the target has answered, and refused */
  public TargetException(String message, boolean refusal) {
    super(message);
    this.refusal = refusal;
  }

  /** Whether the target has answered, and refused. */
  public boolean isRefusal() {
    return refusal;
  }
}
