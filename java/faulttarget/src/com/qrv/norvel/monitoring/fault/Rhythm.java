package com.qrv.norvel.monitoring.fault;

import java.util.concurrent.Executors;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.ScheduledFuture;
import java.util.concurrent.TimeUnit;

/** Does something again and again, on a thread of its own. Not thread-safe. */
final class Rhythm {
  private final ScheduledExecutorService timer;
  private ScheduledFuture<?> running; // null when it rests

  Rhythm(String name) {
    timer =
        Executors.newSingleThreadScheduledExecutor(
            task -> {
              Thread thread = new Thread(null, task, name);
              thread.setDaemon(true);
              return thread;
            });
  }

  /** Does {@code work} from now on, instead of what it did before. */
  void every(long nanos, Runnable work) {
    rest();
    running = timer.scheduleAtFixedRate(work, nanos, nanos, TimeUnit.NANOSECONDS);
  }

  void rest() {
    if (running != null) {
      running.cancel(false);
      running = null;
    }
  }
}
