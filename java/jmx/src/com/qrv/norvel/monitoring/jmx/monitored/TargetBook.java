package com.qrv.norvel.monitoring.jmx.monitored;

import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** What is written down of a target. The target guards it with its own lock. */
final class TargetBook {
  private final TargetIdentity identity;
  private final Map<String, WorkTime> times = new LinkedHashMap<>();
  private TargetState state = TargetState.CONNECTING;
  private long sinceWallMillis;
  private String lastError = "";
  private long lastSampleMillis = TargetStatus.UNKNOWN;
  private long samples;
  private long failures;
  private boolean faultReported; // since it was last up
  private String lastRefusal = "";

  TargetBook(TargetIdentity identity, long nowWallMillis) {
    this.identity = identity;
    this.sinceWallMillis = nowWallMillis;
  }

  TargetState state() {
    return state;
  }

  void become(TargetState next, long nowWallMillis) {
    if (next == TargetState.UP) {
      faultReported = false;
    }
    if (state != next) {
      state = next;
      sinceWallMillis = nowWallMillis;
    }
  }

  /** Notes that a piece of work was done; a sample has a table. */
  void succeeded(String table, long millis) {
    lastError = "";
    if (table != null) {
      samples++;
      lastSampleMillis = millis;
      WorkTime before = times.get(table);
      long max = before == null ? millis : Math.max(before.maxMillis(), millis);
      times.put(table, new WorkTime(table, millis, max));
    }
  }

  void failed(String error) {
    failures++;
    lastError = error;
  }

  /** Notes what is wrong before it is certain that the call has failed. */
  void suspect(String error) {
    lastError = error;
  }

  /** Whether a fault is the first since the target was last up; it is no more thereafter. */
  boolean isNewFault() {
    boolean isNew = !faultReported;
    faultReported = true;
    return isNew;
  }

  /**
   * Whether work that nobody waits for is refused for another cause than the last time. The work's
   * name does not count: it has a number.
   */
  boolean isNewRefusal(String cause) {
    boolean isNew = !cause.equals(lastRefusal);
    lastRefusal = cause;
    return isNew;
  }

  /** Why callers are refused now. */
  String refusal() {
    return "target " + identity.name() + " is " + state.text() + (lastError.isEmpty() ? "" : ": ")
        + lastError;
  }

  TargetStatus status() {
    return new TargetStatus(
        identity.name(),
        identity.kind(),
        identity.title(),
        identity.pid(),
        identity.url(),
        state,
        sinceWallMillis,
        lastError,
        lastSampleMillis,
        samples,
        failures,
        List.copyOf(times.values()));
  }
}
