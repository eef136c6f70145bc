package com.qrv.norvel.monitoring.jmx.monitored;

/** The call that a target's thread is in, if it is in one. The target's lock guards it. */
final class OpenCall {
  private boolean open;
  private boolean overdue;
  private long deadlineMillis;
  private long overdueSinceMillis;

  void begin(long deadline) {
    open = true;
    overdue = false;
    deadlineMillis = deadline;
  }

  void end() {
    open = false;
  }

  /** Continues as a call that has been given up already, now or before. */
  void giveUp(long nowMillis) {
    if (!open || !overdue) {
      overdueSinceMillis = nowMillis;
    }
    open = true;
    overdue = true;
    deadlineMillis = Long.MIN_VALUE;
  }

  /** Whether it goes on though it was given up so long ago. */
  boolean isOverdueFor(long millis, long nowMillis) {
    return open && overdue && nowMillis - overdueSinceMillis >= millis;
  }

  /** Whether it has been given up. */
  boolean isOverdue() {
    return overdue;
  }

  /** When it is to be given up; never, when there is none. */
  long deadlineMillis() {
    return open ? deadlineMillis : Long.MAX_VALUE;
  }
}
