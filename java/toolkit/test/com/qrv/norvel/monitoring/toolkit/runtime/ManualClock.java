package com.qrv.norvel.monitoring.toolkit.runtime;

/** A clock that stands still until a test moves it. */
final class ManualClock implements Clock {
  private long now; // guarded by this
  private long waits; // guarded by this

  @Override
  public synchronized long nanoTime() {
    return now;
  }

  @Override
  public void await(Object monitor, long nanos) throws InterruptedException {
    synchronized (this) {
      waits++;
      notifyAll();
    }
    // Returns early again and again, so that nobody misses a move made just before the wait.
    monitor.wait(5);
  }

  synchronized void advanceMs(long ms) {
    now += ms * 1_000_000;
  }

  /**
   * Returns when somebody who waits by this clock has begun to wait again so many times. Where one
   * thread waits, it has looked at the time in between.
   */
  synchronized void awaitRounds(int rounds) throws InterruptedException {
    long enough = waits + rounds;
    long end = System.nanoTime() + 30_000_000_000L;
    while (waits < enough) {
      if (System.nanoTime() > end) {
        throw new AssertionError("nobody waits by this clock");
      }
      wait(1000);
    }
  }
}
