package com.qrv.norvel.monitoring.toolkit.runtime;

/** A clock that stands still until a test moves it. */
final class ManualClock implements Clock {
  private long now; // guarded by this

  @Override
  public synchronized long nanoTime() {
    return now;
  }

  @Override
  public void await(Object monitor, long nanos) throws InterruptedException {
    // Returns early again and again, so that nobody misses a move made just before the wait.
    monitor.wait(5);
  }

  synchronized void advanceMs(long ms) {
    now += ms * 1_000_000;
  }
}
