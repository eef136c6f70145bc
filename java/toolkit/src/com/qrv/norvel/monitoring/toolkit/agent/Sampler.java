package com.qrv.norvel.monitoring.toolkit.agent;

/** Collects the rows of a table. */
public interface Sampler {

  /**
   * Adds the current rows.
   *
   * <p>Runs on a thread of the toolkit, never twice at once for one table and subnode, but at the
   * same time for different subnodes. When the table's deadline passes, the sample is answered as
   * failed, this thread is interrupted, and whatever the sampler still adds is refused with an
   * {@link IllegalStateException}; until it returns, further samples of the table and subnode fail
   * at once.
   *
   * <p>Any exception or error fails the one sample. Only a {@link FatalApplicationException} ends
   * the agent.
   */
  void sample(SampleRequest request, RowSink rows) throws Exception;
}
