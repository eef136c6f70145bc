package com.qrv.norvel.monitoring.toolkit.runtime;

/** Monotonic time, and waiting by it. */
interface Clock {

  /** Nanoseconds since some moment; only differences mean something. */
  long nanoTime();

  /**
   * Waits on a monitor that the caller holds until it is notified or the time is up. May return
   * early: test the condition again.
   */
  void await(Object monitor, long nanos) throws InterruptedException;
}
