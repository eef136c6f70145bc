package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Ends the agent. Thrown by an application that cannot continue: from its samplers and its handlers
 * of actions, web requests and situations, from {@link Application#configure} or from {@link
 * Application#started}. There every other exception and error costs one answer only, except in
 * {@code configure}, without which there is no agent.
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
