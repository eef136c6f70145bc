package com.qrv.norvel.monitoring.toolkit.agent;

/** The agent as its application sees it. Every operation may be called from any thread. */
public interface Agent {
  /** How many calls of one action or web handler may be in progress at once. */
  int MAX_CALLS = 4;

  /** How long a handler of actions may take unless it is registered with a deadline. */
  long ACTION_DEADLINE_MS = 30_000;

  /** How long a handler of web requests may take unless it is registered with a deadline. */
  long WEB_DEADLINE_MS = 10_000;

  /** Who this agent is. */
  AgentInfo info();

  /**
   * Declares a table and the sampler that fills it. Only {@link Application#configure} may do so,
   * since tables are registered once, when the agent starts.
   *
   * @throws IllegalStateException after {@code configure}
   * @throws IllegalArgumentException when a table of that name is declared already
   */
  void table(TableDefinition table, Sampler sampler);

  /**
   * Declares an event table. Only {@link Application#configure} may do so.
   *
   * @param table made with {@link TableDefinition.Builder#events}
   * @return where its events go; may be kept for the life of the process
   * @throws IllegalStateException after {@code configure}
   * @throws IllegalArgumentException when a table of that name is declared already or this one is
   *     not an event table
   */
  EventTable eventTable(TableDefinition table);

  /** As {@link #eventTable(TableDefinition)}, with a handler that is told who watches the table. */
  EventTable eventTable(TableDefinition table, SituationHandler situations);

  /**
   * Sets the handler that is told which situations watch sampled tables. The agent waits for none
   * of these calls, and no deadline ends them. Only {@link Application#configure} may do so, once.
   *
   * @throws IllegalStateException after {@code configure}, and when one is already set
   */
  void onSituation(SituationHandler situations);

  /**
   * Registers an action: commands whose first word is this one. Blanks separate the words of a
   * command, double quotes keep some together, and inside them a backslash takes the next character
   * as it is. Only {@link Application#configure} may register actions.
   *
   * @param word 1 to 64 letters, digits, dots, underscores and hyphens of ASCII
   * @throws IllegalStateException after {@code configure}
   * @throws IllegalArgumentException when the word breaks this rule or is taken
   */
  void action(String word, ActionHandler handler);

  /**
   * As {@link #action(String, ActionHandler)}, with a deadline.
   *
   * @param deadlineMs 1 to 3,600,000
   */
  void action(String word, long deadlineMs, ActionHandler handler);

  /**
   * Registers a page and all below it. The most specific one answers: "/targets/log" before
   * "/targets". Only {@link Application#configure} may register pages.
   *
   * @param prefix "/" for everything, otherwise "/" and segments without a slash at the end
   * @throws IllegalStateException after {@code configure}
   * @throws IllegalArgumentException when the prefix is malformed or taken
   */
  void web(String prefix, WebHandler handler);

  /**
   * As {@link #web(String, WebHandler)}, with a deadline.
   *
   * @param deadlineMs 1 to 3,600,000
   */
  void web(String prefix, long deadlineMs, WebHandler handler);

  /**
   * Sets the affinities that the agent registers with. Without this call they are made of the
   * product code.
   *
   * @throws IllegalStateException after {@code configure}
   */
  void affinities(String agentAffinity, String versionAffinity);

  /** The monitored sub-systems of this agent. */
  Subnodes subnodes();

  /** A log that writes into the agent's trace, in the name of the given class. */
  AgentLog log(Class<?> source);

  /** Starts programs that outlive the agent. */
  Daemons daemons();

  /**
   * Asks the agent to end in an orderly way, with status 0. Returns at once. Before the agent is up,
   * the request waits until it is. {@code System.exit} ends the process as well, but at once, and 0
   * becomes 255 then: whoever watches the process should not take that for a stop.
   *
   * @param reason one line for the trace
   */
  void stop(String reason);
}
