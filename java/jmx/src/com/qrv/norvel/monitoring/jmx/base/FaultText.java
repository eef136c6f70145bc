package com.qrv.norvel.monitoring.jmx.base;

/** Says for people what was thrown, on one line of bounded length. */
public final class FaultText {
  private static final int MAX_LENGTH = 400;

  private FaultText() {}

  /** What was thrown, with its first cause when that says more. */
  public static String of(Throwable thrown) {
    Throwable cause = thrown;
    for (int depth = 0; depth < 5 && cause.getCause() != null; depth++) {
      cause = cause.getCause();
    }
    String message = Shown.text(thrown.getMessage(), MAX_LENGTH);
    String text = message == null ? thrown.getClass().getName() : message;
    // Remote exceptions append the text of their cause on a line of its own.
    int nested = text.indexOf("; nested exception is:");
    if (nested >= 0) {
      text = text.substring(0, nested);
    }
    String reason = Shown.text(cause.getMessage(), MAX_LENGTH);
    return reason != null && !text.contains(reason) ? text + " (" + reason + ")" : text;
  }

  /** What was thrown, by its class and its message. */
  public static String withClass(Throwable thrown) {
    String message = Shown.text(thrown.getMessage(), MAX_LENGTH);
    String name = thrown.getClass().getName();
    return message == null ? name : name + ": " + message;
  }
}
