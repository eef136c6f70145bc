package com.qrv.norvel.monitoring.toolkit.runtime;

/** The clock of the machine. */
final class SystemClock implements Clock {
  private static final long NANOS_PER_MILLI = 1_000_000;

  @Override
  public long nanoTime() {
    return System.nanoTime();
  }

  @Override
  public void await(Object monitor, long nanos) throws InterruptedException {
    if (nanos > 0) {
      // Rounded up, since a wait of 0 ms would never end.
      monitor.wait((nanos + NANOS_PER_MILLI - 1) / NANOS_PER_MILLI);
    }
  }
}
