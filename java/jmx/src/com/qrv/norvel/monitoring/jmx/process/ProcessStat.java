package com.qrv.norvel.monitoring.jmx.process;

/**
 * The cheap facts of a process.
 *
 * @param state as the kernel abbreviates it
 * @param threads how many it has
 * @param startTicks when it started; with the pid it names the process for good, because pids are
 *     used again
 */
public record ProcessStat(char state, int threads, long startTicks) {
  /** Whether it has ended and only waits for its parent. */
  public boolean isDead() {
    return state == 'Z' || state == 'X';
  }

  /** Whether a signal or a debugger has stopped it. */
  public boolean isStopped() {
    return state == 'T' || state == 't';
  }

  /**
   * Reads the line of {@code /proc/PID/stat}; null when it is none. The command's name stands in
   * it, and may hold anything: the fields are counted behind it.
   */
  static ProcessStat parse(String line) {
    String[] fields = line.substring(line.lastIndexOf(')') + 1).trim().split(" ", 21);
    try {
      return fields.length < 21 || fields[0].isEmpty()
          ? null
          : new ProcessStat(
              fields[0].charAt(0), Integer.parseInt(fields[17]), Long.parseLong(fields[19]));
    } catch (NumberFormatException e) {
      return null;
    }
  }
}
