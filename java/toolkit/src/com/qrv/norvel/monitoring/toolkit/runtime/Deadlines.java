package com.qrv.norvel.monitoring.toolkit.runtime;

/** The range of deadlines that an application may set. */
final class Deadlines {
  private static final long MAX_MS = 3_600_000;

  private Deadlines() {}

  static void check(String what, long deadlineMs) {
    if (deadlineMs < 1 || deadlineMs > MAX_MS) {
      throw new IllegalArgumentException(
          what + ": deadline " + deadlineMs + " is not in 1 to " + MAX_MS);
    }
  }
}
