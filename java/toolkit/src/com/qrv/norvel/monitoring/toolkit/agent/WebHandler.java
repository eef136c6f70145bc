package com.qrv.norvel.monitoring.toolkit.agent;

/** Answers the web requests below a path. */
public interface WebHandler {

  /**
   * Answers one request, on a thread of the toolkit, at most {@link Agent#MAX_CALLS} at once; more
   * wait for their turn within the deadline.
   *
   * <p>When the deadline passes, the browser is told that the agent failed and this thread is
   * interrupted. An exception is logged, and the browser is told the same. Only a {@link
   * FatalApplicationException} ends the agent.
   */
  WebResponse answer(WebRequest request) throws Exception;
}
