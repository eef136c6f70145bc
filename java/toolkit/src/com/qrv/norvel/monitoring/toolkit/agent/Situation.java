package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/**
 * A rule that watches a table.
 *
 * <p>Several watches of the agent may belong to one situation, one for each subnode say. The
 * application sees one situation: what is said here is what the first of them said.
 *
 * @param name its name; {@link #SUBSCRIPTION} for the agent's own record of events
 * @param table the table that it watches
 * @param intervalSeconds how often it looks at a sampled table; 0 when it does not look by itself
 * @param history whether it collects history
 * @param automation whether it runs an automatic action
 * @param conditions what a row has to satisfy; only a hint, since the agent decides by itself;
 *     empty for a situation on a sampled table
 * @param subnodes the subnodes of its first watch, empty for all: only a hint, as other watches may
 *     follow for others; empty for a situation on a sampled table
 */
public record Situation(
    String name,
    String table,
    int intervalSeconds,
    boolean history,
    boolean automation,
    List<Condition> conditions,
    List<String> subnodes) {

  /** The name under which the agent itself watches an event table. */
  public static final String SUBSCRIPTION = "*EVENTS";

  public Situation {
    conditions = List.copyOf(conditions);
    subnodes = List.copyOf(subnodes);
  }

  /** Whether it is the agent's own record of events rather than a rule that somebody wrote. */
  public boolean isSubscription() {
    return SUBSCRIPTION.equals(name);
  }
}
