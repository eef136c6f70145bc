package com.qrv.norvel.monitoring.toolkit.bridge;

/** Turns what was thrown into text. Never throws, whatever an exception's own operations do. */
public final class Failures {
  private static final int MAX_FRAMES = 25;
  private static final int MAX_CAUSES = 8; // Causes may form a cycle.

  private Failures() {}

  /** Class and message, on one line as far as the message is. */
  public static String describe(Throwable failure) {
    try {
      return String.valueOf(failure);
    } catch (Throwable second) {
      return failure.getClass().getName();
    }
  }

  /** The message alone, or the class of a failure that has none. */
  public static String message(Throwable failure) {
    try {
      String message = failure.getMessage();
      return message == null || message.isEmpty() ? failure.getClass().getName() : message;
    } catch (Throwable second) {
      return failure.getClass().getName();
    }
  }

  /** Class, message and innermost frames of a failure and of its causes, up to a bound. */
  public static String trace(Throwable failure) {
    try {
      return fullTrace(failure);
    } catch (Throwable second) {
      return describe(failure);
    }
  }

  private static String fullTrace(Throwable failure) {
    StringBuilder text = new StringBuilder(describe(failure));
    appendFrames(text, failure);
    Throwable cause = causeOf(failure);
    for (int i = 0; i < MAX_CAUSES && cause != null; i++) {
      text.append("\nCaused by: ").append(describe(cause));
      appendFrames(text, cause);
      cause = causeOf(cause);
    }
    return text.toString();
  }

  private static void appendFrames(StringBuilder text, Throwable failure) {
    StackTraceElement[] stack = stackOf(failure);
    if (stack == null) {
      text.append("\n\t(without its stack)");
      return;
    }
    int shown = Math.min(stack.length, MAX_FRAMES);
    for (int i = 0; i < shown; i++) {
      text.append("\n\tat ").append(stack[i]);
    }
    if (shown < stack.length) {
      text.append("\n\t... ").append(stack.length - shown).append(" more");
    }
  }

  private static StackTraceElement[] stackOf(Throwable failure) {
    try {
      return failure.getStackTrace();
    } catch (Throwable second) {
      return null;
    }
  }

  private static Throwable causeOf(Throwable failure) {
    try {
      return failure.getCause();
    } catch (Throwable second) {
      return null;
    }
  }
}
