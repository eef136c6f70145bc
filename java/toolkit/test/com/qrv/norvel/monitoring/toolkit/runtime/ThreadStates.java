package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.function.BooleanSupplier;

/** What other threads are doing. */
final class ThreadStates {
  private ThreadStates() {}

  /** Returns when a condition holds. It is asked again and again. */
  static void awaitTrue(String what, BooleanSupplier condition) {
    long end = System.nanoTime() + 30_000_000_000L;
    while (!condition.getAsBoolean()) {
      if (System.nanoTime() > end) {
        throw new AssertionError("still not " + what);
      }
      Thread.yield();
    }
  }

  /** Returns when a thread has been seen in a wait with a time limit. */
  static void awaitWaiting(Thread thread) {
    awaitTrue(thread + " waits", () -> thread.getState() == Thread.State.TIMED_WAITING);
  }
}
