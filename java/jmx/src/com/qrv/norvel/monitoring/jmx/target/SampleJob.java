package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.table.BeanTable;

/** One read of one table, which any number of callers wait for. The first result counts. */
final class SampleJob {
  private final BeanTable table;
  private boolean done; // guarded by this
  private Object[][] rows; // guarded by this
  private String failure; // guarded by this

  SampleJob(BeanTable table) {
    this.table = table;
  }

  BeanTable table() {
    return table;
  }

  synchronized void succeed(Object[][] result) {
    if (!done) {
      done = true;
      rows = result;
      notifyAll();
    }
  }

  synchronized void fail(String reason) {
    if (!done) {
      done = true;
      failure = reason;
      notifyAll();
    }
  }

  /**
   * Waits for the result.
   *
   * @return the rows, or null when there was none within the time
   * @throws TargetException when the job has failed
   */
  synchronized Object[][] await(long millis) throws TargetException, InterruptedException {
    long end = System.nanoTime() + millis * 1_000_000;
    while (!done) {
      long left = (end - System.nanoTime() + 999_999) / 1_000_000;
      if (left <= 0) {
        return null;
      }
      wait(left);
    }
    if (failure != null) {
      throw new TargetException(failure);
    }
    return rows;
  }
}
