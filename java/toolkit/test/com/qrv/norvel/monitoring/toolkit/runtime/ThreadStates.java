package com.qrv.norvel.monitoring.toolkit.runtime;

/** What other threads are doing. */
final class ThreadStates {
  private ThreadStates() {}

  /** Returns when a thread has been seen in a wait with a time limit. */
  static void awaitWaiting(Thread thread) {
    long end = System.nanoTime() + 30_000_000_000L;
    while (thread.getState() != Thread.State.TIMED_WAITING) {
      if (System.nanoTime() > end) {
        throw new AssertionError(thread + " is " + thread.getState());
      }
      Thread.yield();
    }
  }
}
