package com.qrv.norvel.monitoring.toolkit.bridge;

/** A request that is answered with an exception whose text says it all: nothing else is logged. */
public final class RequestFailedException extends Exception {
  private static final long serialVersionUID = 1L;

  private final int severity;
  private final boolean late;

  private RequestFailedException(int severity, boolean late, String message) {
    super(message, null, false, false);
    this.severity = severity;
    this.late = late;
  }

  /** Costs the one request. */
  public static RequestFailedException ordinary(String message) {
    return new RequestFailedException(Envelope.SEVERITY_ORDINARY, false, message);
  }

  /** Costs the one request, since something was not done in time. */
  public static RequestFailedException late(String message) {
    return new RequestFailedException(Envelope.SEVERITY_ORDINARY, true, message);
  }

  /** Ends the agent. */
  public static RequestFailedException critical(String message) {
    return new RequestFailedException(Envelope.SEVERITY_CRITICAL, false, message);
  }

  public boolean isLate() {
    return late;
  }

  public boolean isCritical() {
    return severity == Envelope.SEVERITY_CRITICAL;
  }

  int severity() {
    return severity;
  }
}
