package com.qrv.norvel.monitoring.toolkit.agent;

/** Writes the cells of one event. */
public interface EventWriter {

  /**
   * Sets the cells of an event, all of which are "not available" until set. Runs once, on the
   * thread that hands the event over, before that call returns; the row must not be kept.
   */
  void write(Row row);
}
