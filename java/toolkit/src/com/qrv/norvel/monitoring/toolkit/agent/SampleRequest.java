package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/** What a sampler is asked for. Immutable. */
public interface SampleRequest {

  /** The table to fill; one sampler may serve several. */
  TableDefinition table();

  /** The subnodes that rows are wanted for: usually one; none for a table of the agent itself. */
  List<String> subnodes();

  /**
   * The one subnode of a per-subnode table.
   *
   * @throws IllegalStateException when the request names none or several
   */
  String subnode();

  /**
   * Conditions that the reader of the rows has. The agent filters by itself: these are hints. A
   * table that leaves rows out because of them must not have a cache time, or the rows that are
   * left would be served to readers without the conditions too.
   */
  List<Filter> filters();

  /** Whether the rows are for the historical collection. */
  boolean isHistory();

  /** Whether the rows are for a situation that runs an automatic action. */
  boolean isAutomation();

  /** The situation or report that asks; may be empty. */
  String situation();
}
