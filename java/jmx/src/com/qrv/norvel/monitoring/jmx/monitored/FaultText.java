package com.qrv.norvel.monitoring.jmx.monitored;

/** Describes what was thrown, for people. */
final class FaultText {
  private FaultText() {}

  /** What was thrown, on one line, with its first cause when that says more. */
  static String of(Throwable thrown) {
    Throwable cause = thrown;
    for (int depth = 0; depth < 5 && cause.getCause() != null; depth++) {
      cause = cause.getCause();
    }
    String text = thrown.getMessage() == null ? thrown.getClass().getName() : thrown.getMessage();
    // Remote exceptions append the text of their cause on a line of its own.
    int nested = text.indexOf("; nested exception is:");
    if (nested >= 0) {
      text = text.substring(0, nested);
    }
    String reason = cause.getMessage();
    if (reason != null && !text.contains(reason)) {
      text = text + " (" + reason + ")";
    }
    return text.replace('\n', ' ').replace('\t', ' ').replace('\r', ' ');
  }
}
