package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Ends the agent. Thrown by an application that cannot go on: from its samplers, from {@link
 * Application#configure} or from {@link Application#started}. Every other exception and error costs
 * one answer only.
 */
public final class FatalApplicationException extends RuntimeException {
  private static final long serialVersionUID = 1L;

  public FatalApplicationException(String message) {
    super(message);
  }

  public FatalApplicationException(String message, Throwable cause) {
    super(message, cause);
  }
}
