package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * A data collection that runs inside the agent.
 *
 * <p>The system property {@code zel.application} names the class, which needs a public
 * constructor without parameters. One instance lives as long as the process. All three operations
 * run on threads of the agent's Java side, never two of them at once.
 */
public interface Application {

  /**
   * Declares the tables. Runs once, before the agent serves anyone, and delays its start; a slow
   * preparation belongs to a thread of the application's own. An exception ends the start of the
   * agent with the exception's text.
   *
   * @param agent the agent; may be kept for the life of the process
   */
  void configure(Agent agent) throws Exception;

  /**
   * The agent is up: subnodes registered from here on become visible at once. Samplers may already
   * be running on other threads. An exception is logged; a {@link FatalApplicationException} ends
   * the agent.
   */
  default void started() throws Exception {}

  /**
   * The agent is about to end, and waits a few seconds at most. Samples in progress are answered
   * already; what their samplers still return is dropped. May come without {@link #started()}, and
   * does not come when a {@link FatalApplicationException} ends the agent.
   */
  default void stopped() {}
}
