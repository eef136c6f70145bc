package com.qrv.norvel.monitoring.toolkit.runtime;

/** Where log records go. */
interface TraceSink {

  /**
   * Writes one record, on any thread.
   *
   * @param classes trace classes of the record, all of which must be on; 0 is always written
   * @param component what the record belongs to
   * @param sourceFile name of the source file that writes
   * @param function name of the operation that writes; may be empty
   */
  void write(int classes, String component, String sourceFile, String function, String message);
}
