package com.qrv.norvel.monitoring.toolkit.agent;

/** Runs an action. */
public interface ActionHandler {

  /**
   * Runs the action, on a thread of the toolkit, at most {@link Agent#MAX_CALLS} times at once.
   *
   * <p>When the deadline passes, the action is answered with {@link ActionResult#TIMED_OUT} and
   * this thread is interrupted; what it still returns is dropped. An exception is answered with
   * {@link ActionResult#FAILED} and its message, and logged. Only a {@link
   * FatalApplicationException} ends the agent.
   *
   * @return the answer; null counts as {@link ActionResult#FAILED}
   */
  ActionResult run(ActionRequest request) throws Exception;
}
