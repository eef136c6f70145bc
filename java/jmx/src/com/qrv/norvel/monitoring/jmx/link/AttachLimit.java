package com.qrv.norvel.monitoring.jmx.link;

/**
 * How often attaching to a JVM that does not respond is tried. For each attempt it prints its
 * threads into its own output instead; yet it may only have been busy. Thread-safe.
 */
final class AttachLimit {
  static final int FREE_FAILURES = 3;
  static final long PAUSE_MILLIS = 600_000;

  private int failures; // guarded by this
  private long lastMillis; // guarded by this

  /** Whether to ask now: three times in a row, and from then on every ten minutes. */
  synchronized boolean allows(long nowMillis) {
    return failures < FREE_FAILURES || nowMillis - lastMillis >= PAUSE_MILLIS;
  }

  synchronized void failed(long nowMillis) {
    failures = Math.min(FREE_FAILURES, failures + 1);
    lastMillis = nowMillis;
  }

  /** It has answered, or there is reason to think that it will. */
  synchronized void reset() {
    failures = 0;
  }
}
