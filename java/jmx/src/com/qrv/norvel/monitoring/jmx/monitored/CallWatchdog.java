package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import java.util.ArrayList;
import java.util.List;

/**
 * One thread that ends the overdue calls of all targets.
 *
 * <p>It sleeps until the earliest deadline that it saw. A call that begins meanwhile ends no sooner
 * than the shortest limit from now, so sleeping that long at most is always early enough, and a
 * call costs no wake-up.
 *
 * <p>Once closed it ends with the last target: one that is being left may hang, too.
 */
public final class CallWatchdog implements Runnable {
  private final Clock clock;
  private final long shortestLimitMillis;
  private final List<ConnectedJvm> watched = new ArrayList<>(); // guarded by this
  private boolean running; // guarded by this
  private boolean closed; // guarded by this

  /** @param shortestLimitMillis no call has a shorter limit */
  public CallWatchdog(Clock clock, long shortestLimitMillis) {
    this.clock = clock;
    this.shortestLimitMillis = shortestLimitMillis;
  }

  synchronized void watch(ConnectedJvm jvm) {
    if (!watched.contains(jvm)) {
      watched.add(jvm); // not again with another thread
    }
    if (!running) {
      Thread thread = new Thread(null, this, "jmx-watchdog", 256 * 1024);
      thread.setDaemon(true);
      thread.start();
      running = true; // not before: without memory for a thread, the next target tries again
    }
  }

  synchronized void forget(ConnectedJvm jvm) {
    watched.remove(jvm);
    notifyAll();
  }

  public synchronized void close() {
    closed = true;
    notifyAll();
  }

  @Override
  public void run() {
    try {
      while (true) {
        long pause = scan();
        synchronized (this) {
          if (closed && watched.isEmpty()) {
            return;
          }
          wait(pause);
        }
      }
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    } finally {
      synchronized (this) {
        running = false;
      }
    }
  }

  /** Ends what is overdue; gives the milliseconds until the next scan. */
  long scan() {
    ConnectedJvm[] all;
    synchronized (this) {
      all = watched.toArray(new ConnectedJvm[0]);
    }
    long now = clock.millis();
    long next = now + shortestLimitMillis;
    for (ConnectedJvm jvm : all) {
      next = Math.min(next, jvm.expire(now));
    }
    return Math.max(1, next - now);
  }
}
