package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.Clock;

/**
 * How long one piece of work goes on making calls. A piece of work is given up after the time of a
 * single call, so one of many short calls has to end by itself, or a target that answers each of
 * them in time would be taken for one that hangs. One thread's alone.
 */
public final class TimeBudget {
  private final Clock clock;
  private final long millis;
  private long end;

  /** For work on targets whose calls may take so long: half of it, so that the last call fits. */
  public static TimeBudget ofCall(Clock clock, long callMillis) {
    return new TimeBudget(clock, callMillis / 2);
  }

  public TimeBudget(Clock clock, long millis) {
    this.clock = clock;
    this.millis = millis;
  }

  public void begin() {
    end = clock.millis() + millis;
  }

  public boolean isOver() {
    return clock.millis() >= end;
  }

  public long millis() {
    return millis;
  }
}
