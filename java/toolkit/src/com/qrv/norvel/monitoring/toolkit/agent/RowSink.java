package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Takes the rows of one sample. Belongs to the thread that the sampler was called on, until the
 * sampler returns.
 */
public interface RowSink {

  /**
   * Begins a row, all of whose cells are "not available" until set. In a per-subnode table the row
   * belongs to the request's one subnode. The row before it is finished thereby: the returned
   * object is always the same.
   *
   * @throws IllegalStateException when the deadline has passed or the sampler has returned, when
   *     the table's row limit is reached, or when the request names several subnodes
   */
  Row row();

  /**
   * As {@link #row()}, for one of the subnodes of the request.
   *
   * @throws IllegalArgumentException when the table has no subnodes or the request does not name
   *     this one
   */
  Row row(String subnode);
}
