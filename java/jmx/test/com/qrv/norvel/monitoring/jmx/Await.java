package com.qrv.norvel.monitoring.jmx;

import java.util.concurrent.Callable;
import java.util.concurrent.locks.LockSupport;

/** Waits for what other threads or processes bring about. */
public final class Await {
  private static final long DEADLINE_NANOS = 30_000_000_000L;

  private Await() {}

  /** Returns once the condition holds; fails when it does not within half a minute. */
  public static void until(String what, Callable<Boolean> condition) throws Exception {
    long end = System.nanoTime() + DEADLINE_NANOS;
    while (!condition.call()) {
      if (System.nanoTime() > end) {
        throw new AssertionError("waited in vain until " + what);
      }
      LockSupport.parkNanos(5_000_000);
    }
  }
}
