package com.qrv.norvel.monitoring.jmx.monitored;

import java.util.Random;

/**
 * When to try again: a delay that doubles with each failure in a row, between two bounds, with a
 * tenth of jitter either way so that targets which failed together do not return together.
 *
 * <p>The first good call ends the row of failures, not the connection: a JVM that accepts and then
 * hangs stays on the long delays. Not thread-safe.
 */
public final class Retry {
  private final long minMillis;
  private final long maxMillis;
  private final Random random;
  private int failures;
  private long dueMillis;

  public Retry(long minMillis, long maxMillis, Random random) {
    this.minMillis = minMillis;
    this.maxMillis = maxMillis;
    this.random = random;
  }

  void failed(long nowMillis) {
    long delay = maxMillis;
    if (failures < 30) {
      delay = Math.min(maxMillis, minMillis << failures);
    }
    failures++;
    long jitter = Math.round(delay * (random.nextDouble() - 0.5) / 5);
    dueMillis = nowMillis + delay + jitter;
  }

  void succeeded() {
    failures = 0;
  }

  /** Makes the next attempt due at once; the length of later delays stays. */
  void now(long nowMillis) {
    dueMillis = nowMillis;
  }

  boolean hasFailed() {
    return failures > 0;
  }

  /** Milliseconds until the next attempt; 0 when it is due. */
  long waitMillis(long nowMillis) {
    return failures == 0 ? 0 : Math.max(0, dueMillis - nowMillis);
  }
}
