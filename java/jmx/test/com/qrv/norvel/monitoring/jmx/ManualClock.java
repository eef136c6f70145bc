package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.Clock;

/** A clock that stands still until it is told to go on. */
public final class ManualClock implements Clock {
  private long now = 1_000_000;

  @Override
  public synchronized long wallMillis() {
    return now + 1_700_000_000_000L;
  }

  @Override
  public synchronized long millis() {
    return now;
  }

  public synchronized void advance(long millis) {
    now += millis;
  }
}
