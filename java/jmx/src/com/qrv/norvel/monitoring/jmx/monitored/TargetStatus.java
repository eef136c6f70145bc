package com.qrv.norvel.monitoring.jmx.monitored;

import java.util.List;

/** What is known of a target at one moment; the row of the table of targets. */
public record TargetStatus(
    String name,
    TargetKind kind,
    String title,
    long pid,
    String url,
    TargetState state,
    long sinceWallMillis,
    String lastError,
    long lastSampleMillis,
    long samples,
    long failures,
    List<WorkTime> times) {
  /** A {@link #pid} or {@link #lastSampleMillis} that is not known. */
  public static final long UNKNOWN = -1;
}
