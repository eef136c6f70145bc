package com.qrv.norvel.monitoring.toolkit.bridge;

/** A request that is answered with an exception whose text says it all: nothing else is logged. */
public final class RequestFailedException extends Exception {
  private static final long serialVersionUID = 1L;

  private final int severity;

  private RequestFailedException(int severity, String message) {
    super(message, null, false, false);
    this.severity = severity;
  }

  /** Costs the one request. */
  public static RequestFailedException ordinary(String message) {
    return new RequestFailedException(Envelope.SEVERITY_ORDINARY, message);
  }

  /** Ends the agent. */
  public static RequestFailedException critical(String message) {
    return new RequestFailedException(Envelope.SEVERITY_CRITICAL, message);
  }

  public boolean isCritical() {
    return severity == Envelope.SEVERITY_CRITICAL;
  }

  int severity() {
    return severity;
  }
}
