package com.qrv.norvel.monitoring.jmx.target;

/** A target could not be sampled; the message names it and says why. */
public final class TargetException extends Exception {
  private static final long serialVersionUID = 1L;

  public TargetException(String message) {
    super(message);
  }
}
