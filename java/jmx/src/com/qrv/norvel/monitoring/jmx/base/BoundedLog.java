package com.qrv.norvel.monitoring.jmx.base;

import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * A log that others cannot flood, whatever they are called and however often they fail. A line has
 * at most {@value #MAX_LENGTH} characters. An error that was written less than a minute ago is
 * counted instead, and so is what comes too often: {@code burst} lines at once, and one more for
 * each {@code refillMillis}, of errors and of other lines each. The next line that is written tells
 * how many were left out. Any thread may call.
 */
public final class BoundedLog implements OperatorLog {
  static final int MAX_LENGTH = 800;

  /** An equal error within so long is not written again. */
  static final long REPEAT_MILLIS = 60_000;

  /** So many errors are remembered; the oldest is forgotten first. */
  private static final int MAX_REMEMBERED = 100;

  private final OperatorLog log;
  private final Clock clock;
  private final Allowance infos;
  private final Allowance errors;

  private final Map<String, Long> written = new LinkedHashMap<>(); // when; guarded by itself

  public BoundedLog(OperatorLog log, Clock clock, int burst, long refillMillis) {
    this.log = log;
    this.clock = clock;
    infos = new Allowance(burst, refillMillis, clock.millis());
    errors = new Allowance(burst, refillMillis, clock.millis());
  }

  /** For what one source says, such as one target: 20 lines at once, and 60 an hour. */
  public static OperatorLog ofSource(OperatorLog log, Clock clock) {
    return new BoundedLog(log, clock, 20, 60_000);
  }

  /** For all of them together: 200 lines at once, and 360 an hour. */
  public static OperatorLog ofAll(OperatorLog log, Clock clock) {
    return new BoundedLog(log, clock, 200, 10_000);
  }

  @Override
  public void info(String text) {
    String shown = allowed(infos, text);
    if (shown != null) {
      log.info(shown);
    }
  }

  @Override
  public void error(String text) {
    String shown = allowed(errors, text);
    if (shown != null) {
      log.error(shown);
    }
  }

  private String allowed(Allowance allowance, String text) {
    String shown = Shown.text(text, MAX_LENGTH);
    long now = clock.millis();
    long left;
    synchronized (written) {
      left = isRepeated(allowance, shown, now) ? Allowance.NONE : allowance.take(now);
      if (left == Allowance.NONE) {
        allowance.leaveOut();
        return null;
      }
      if (allowance == errors) {
        written.put(shown, now);
        forget(now);
      }
    }
    return left == 0 ? shown : shown + " (" + left + " more lines were left out before this one)";
  }

  private boolean isRepeated(Allowance allowance, String shown, long now) {
    Long last = allowance == errors ? written.get(shown) : null;
    if (last != null && now - last < REPEAT_MILLIS) {
      return true;
    }
    written.remove(shown); // comes last when it is written again
    return false;
  }

  /** Forgets what is too old to count, or too much. */
  private void forget(long now) {
    Iterator<Long> writings = written.values().iterator();
    while (writings.hasNext()) {
      boolean isOld = now - writings.next() >= REPEAT_MILLIS;
      if (!isOld && written.size() <= MAX_REMEMBERED) {
        return;
      }
      writings.remove();
    }
  }

  /** How many lines may still be written. */
  private static final class Allowance {
    static final long NONE = -1;

    private final int burst;
    private final long refillMillis;
    private int lines;
    private long filledMillis;
    private long leftOut;

    Allowance(int burst, long refillMillis, long nowMillis) {
      this.burst = burst;
      this.refillMillis = refillMillis;
      lines = burst;
      filledMillis = nowMillis;
    }

    /** Takes a line. Gives how many were left out since the last one, or {@link #NONE}. */
    long take(long nowMillis) {
      long more = (nowMillis - filledMillis) / refillMillis;
      filledMillis += more * refillMillis;
      lines = (int) Math.min(burst, lines + more);
      if (lines == 0) {
        return NONE;
      }
      lines--;
      long left = leftOut;
      leftOut = 0;
      return left;
    }

    void leaveOut() {
      leftOut++;
    }
  }
}
