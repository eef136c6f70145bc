package com.qrv.norvel.monitoring.toolkit.agent;

/** The agent as its application sees it. Every operation may be called from any thread. */
public interface Agent {

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
   * Asks the agent to end in an orderly way. Returns at once. Before the agent is up the wish
   * waits until it is.
   *
   * @param reason one line for the trace
   */
  void stop(String reason);
}
