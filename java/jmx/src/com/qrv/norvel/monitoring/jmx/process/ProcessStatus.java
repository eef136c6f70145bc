package com.qrv.norvel.monitoring.jmx.process;

/**
 * Who a process is.
 *
 * @param uid its effective user
 * @param innerPid its pid in the innermost pid namespace that it belongs to; the pid that it knows
 * @param catchesQuit whether it has a handler for QUIT; one without ends by that signal
 */
public record ProcessStatus(int uid, long innerPid, boolean catchesQuit) {
  private static final long QUIT_BIT = 1L << (3 - 1);

  /** Reads {@code /proc/PID/status}; null when a line of it is missing or odd. */
  static ProcessStatus parse(String text) {
    try {
      // Real, effective, saved, file system.
      String[] uids = field(text, "Uid:").split("\\s+");
      String[] pids = field(text, "NSpid:").split("\\s+");
      long caught = Long.parseUnsignedLong(field(text, "SigCgt:"), 16);
      return new ProcessStatus(
          Integer.parseUnsignedInt(uids[1]),
          Long.parseLong(pids[pids.length - 1]),
          (caught & QUIT_BIT) != 0);
    } catch (NumberFormatException | ArrayIndexOutOfBoundsException e) {
      return null;
    }
  }

  /** The rest of the line that begins with {@code key}, trimmed; empty without such a line. */
  private static String field(String text, String key) {
    int line = text.startsWith(key) ? 0 : text.indexOf('\n' + key) + 1;
    if (line == 0 && !text.startsWith(key)) {
      return "";
    }
    int end = text.indexOf('\n', line);
    return text.substring(line + key.length(), end < 0 ? text.length() : end).trim();
  }
}
