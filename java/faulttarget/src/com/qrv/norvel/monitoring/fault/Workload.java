package com.qrv.norvel.monitoring.fault;

import java.util.concurrent.TimeUnit;

/** What the modes {@code gc}, {@code notify} and {@code restart} do all the time. */
final class Workload {
  /** Exit status that asks the keeper for a new process. */
  static final int RESTART_STATUS = 75;

  private static final int GARBAGE_BYTES = 4 << 20;

  /** Faster rates send several at once. */
  private static final long MAX_TICKS_PER_SECOND = 100;

  private static volatile byte[] garbage;

  private Workload() {}

  /** Lets the beans and threads follow the settings. */
  static void follow(FaultSettings settings, Notifier notifier) {
    Rhythm collecting = new Rhythm("fault-gc");
    settings.onChange(
        Mode.GC,
        millis -> change(collecting, TimeUnit.MILLISECONDS.toNanos(millis), millis,
            Workload::collect));
    Rhythm notifying = new Rhythm("fault-notify");
    settings.onChange(
        Mode.NOTIFY,
        rate -> {
          long ticks = Math.min(rate, MAX_TICKS_PER_SECOND);
          change(notifying, rate == Setting.OFF ? 0 : TimeUnit.SECONDS.toNanos(1) / ticks, rate,
              new Dose(notifier, rate, ticks));
        });
  }

  /** Ends the process after a while, whatever it does then. */
  static void followRestarts(FaultSettings settings) {
    Rhythm ending = new Rhythm("fault-restart");
    settings.onChange(
        Mode.RESTART,
        seconds -> change(ending, TimeUnit.SECONDS.toNanos(seconds), seconds,
            () -> Runtime.getRuntime().halt(RESTART_STATUS)));
  }

  private static void change(Rhythm rhythm, long nanos, long value, Runnable work) {
    if (value == Setting.OFF) {
      rhythm.rest();
    } else {
      rhythm.every(nanos, work);
    }
  }

  private static void collect() {
    garbage = new byte[GARBAGE_BYTES];
    garbage = null;
    System.gc();
  }

  /** Spreads {@code rate} notifications over the ticks of a second. */
  private static final class Dose implements Runnable {
    private final Notifier notifier;
    private final long rate;
    private final long ticks;
    private long tick;

    Dose(Notifier notifier, long rate, long ticks) {
      this.notifier = notifier;
      this.rate = rate;
      this.ticks = ticks;
    }

    @Override
    public void run() {
      long before = tick * rate / ticks;
      tick++;
      notifier.send(tick * rate / ticks - before);
    }
  }
}
