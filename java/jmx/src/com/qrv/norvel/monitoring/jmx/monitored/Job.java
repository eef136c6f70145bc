package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.link.Link;

/** One piece of work, which any number of callers wait for. The first result counts. */
final class Job<T> {
  private final String key;
  private final TargetWork<T> work;
  private volatile boolean alone;
  private volatile boolean begun;
  private int callers; // guarded by the target's lock
  private boolean done; // guarded by this
  private T result; // guarded by this
  private String failure; // guarded by this
  private boolean refused; // guarded by this

  /** @param key tells pieces of work apart; the same one shares its result */
  Job(String key, TargetWork<T> work) {
    this.key = key;
    this.work = work;
  }

  String key() {
    return key;
  }

  /** The table that it samples, or null. */
  String table() {
    return work instanceof SampleWork ? ((SampleWork) work).table() : null;
  }

  /** Nobody waits for it, so nobody else will tell of its failure. */
  void leaveAlone() {
    alone = true;
  }

  boolean isAlone() {
    return alone;
  }

  /** How long it may take, where a call may take so long. */
  long limitMillis(long callMillis) {
    return work.limitMillis(callMillis);
  }

  void addCaller() {
    callers++;
  }

  /** Whether the last one who waited has gone, and with it the reason to begin at all. */
  boolean loseCaller() {
    callers--;
    return callers == 0 && !alone && !begun;
  }

  void begin() {
    begun = true;
  }

  /** What to tell a caller who has waited in vain. */
  TargetException late(String target, long millis) {
    return begun
        ? new TargetException(
            key + " of " + target + " has not finished after " + millis + " ms",
            TargetException.Outcome.UNKNOWN)
        : new TargetException(target + " was busy with other work for " + millis + " ms");
  }

  /** Does the work, without telling anybody. */
  T run(Link link) throws Exception {
    return work.on(link);
  }

  synchronized void succeed(T value) {
    if (!done) {
      done = true;
      result = value;
      notifyAll();
    }
  }

  /** The target is gone, or too slow. */
  synchronized void fail(String reason) {
    if (!done) {
      done = true;
      failure = reason;
      notifyAll();
    }
  }

  /** The target has answered that it won't. */
  synchronized void refuse(String reason) {
    refused = !done;
    fail(reason);
  }

  /**
   * Waits for the result.
   *
   * @return whether there was one within the time
   * @throws TargetException when the job has failed
   */
  synchronized boolean await(long millis) throws TargetException, InterruptedException {
    long end = System.nanoTime() + millis * 1_000_000;
    while (!done) {
      long left = (end - System.nanoTime() + 999_999) / 1_000_000;
      if (left <= 0) {
        return false;
      }
      wait(left);
    }
    if (failure != null) {
      throw new TargetException(failure, outcome());
    }
    return true;
  }

  private TargetException.Outcome outcome() {
    if (refused) {
      return TargetException.Outcome.REFUSED;
    }
    return begun ? TargetException.Outcome.UNKNOWN : TargetException.Outcome.NOT_DONE;
  }

  /** What {@link #await} has waited for. */
  synchronized T result() {
    return result;
  }
}
