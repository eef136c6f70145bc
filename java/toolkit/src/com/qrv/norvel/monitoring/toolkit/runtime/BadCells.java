package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;

/** Tells of the values that their columns cannot hold, without flooding the log. */
final class BadCells {
  private static final int SHOWN = 80;

  private final TableLayout layout;
  private final AgentLog log;
  private final boolean endless;
  private int[] counts; // guarded by this

  private BadCells(TableLayout layout, AgentLog log, boolean endless) {
    this.layout = layout;
    this.log = log;
    this.endless = endless;
  }

  /** Logs the first one of each column, and how many there were more in {@link #summarize}. */
  static BadCells ofSample(TableLayout layout, AgentLog log) {
    return new BadCells(layout, log, false);
  }

  /** Has no end: logs the first one of each column, the second, the fourth and so on. */
  static BadCells ofEvents(TableLayout layout, AgentLog log) {
    return new BadCells(layout, log, true);
  }

  /** Notes one. Any thread may call. */
  void note(int index, String value, String problem) {
    int count = count(index);
    if (count == 1 || (endless && Integer.bitCount(count) == 1)) {
      log.warning(
          layout.where(index)
              + ": value "
              + value
              + problem
              + "; the cell is not available"
              + (count == 1 ? "" : " (bad value " + count + " of this column)"));
    }
  }

  /** A text of the application in quotes, cut when it is long. */
  static String quoted(String value) {
    return "'" + (value.length() > SHOWN ? value.substring(0, SHOWN) + "..." : value) + "'";
  }

  /** Logs how many there were beyond the first one of each column. */
  synchronized void summarize() {
    if (counts == null) {
      return;
    }
    for (int i = 0; i < counts.length; i++) {
      if (counts[i] > 1) {
        log.warning(layout.where(i) + ": " + (counts[i] - 1) + " more bad values in this sample");
      }
    }
  }

  private synchronized int count(int index) {
    if (counts == null) {
      counts = new int[layout.table.columns().size()];
    }
    counts[index]++;
    return counts[index];
  }
}
