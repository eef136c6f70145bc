package com.qrv.norvel.monitoring.toolkit.runtime;

/**
 * Spreads rows over time: a second's worth may go at once, more only at the rate. The queues of the
 * native side have no bound of their own. Belongs to one thread.
 */
final class Pace {
  private static final long NANOS_PER_SECOND = 1_000_000_000L;

  private final Clock clock;
  private final long nanosPerRow;
  private long paidUntil;

  Pace(Clock clock, int rowsPerSecond) {
    this.clock = clock;
    nanosPerRow = NANOS_PER_SECOND / rowsPerSecond;
    paidUntil = clock.nanoTime() - NANOS_PER_SECOND;
  }

  /** Notes that rows have gone, and returns the moment from which on more may go. */
  long went(int rows) {
    long oldest = clock.nanoTime() - NANOS_PER_SECOND;
    if (paidUntil - oldest < 0) {
      paidUntil = oldest;
    }
    paidUntil += rows * nanosPerRow;
    return paidUntil;
  }
}
