package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Writes into the agent's trace, beside the records of its native side.
 *
 * <p>The trace has classes that the agent's configuration switches on and off: error, state, flow
 * and detail. A record of a class that is off costs about a microsecond. Never pass a secret: a
 * trace is read by many. Texts are written as they are, on any thread, and nothing is thrown.
 */
public interface AgentLog {

  /** Something failed that somebody has to look into. Class error. */
  void error(String message);

  /** As {@link #error(String)}, followed by the stack trace of the cause. */
  void error(String message, Throwable cause);

  /** Something is wrong, but handled. Class error, marked as a warning. */
  void warning(String message);

  /** As {@link #warning(String)}, followed by the cause's class and message, without its stack. */
  void warning(String message, Throwable cause);

  /** A milestone in the life of the application: written whichever classes are on. */
  void always(String message);

  /** A change of state: connected, lost, registered. Class state. */
  void state(String message);

  /** A function was entered or left. Class flow. */
  void flow(String message);

  /** Data on the way, for the developer. Class detail. */
  void detail(String message);
}
