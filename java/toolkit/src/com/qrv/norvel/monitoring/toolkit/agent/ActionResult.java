package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * What became of an action. The numbers are those of shells.
 *
 * @param code return code; 0 means success
 * @param message text for whoever ran it; cut after {@link #MAX_MESSAGE} characters
 */
public record ActionResult(int code, String message) {
  /** The handler threw an exception. */
  public static final int FAILED = 1;

  /** The command can't be read: an open quote, say. */
  public static final int MALFORMED = 2;

  /** The handler did not return in time. */
  public static final int TIMED_OUT = 124;

  /** There was no thread for the handler, or the agent is stopping. */
  public static final int NOT_RUN = 126;

  /** No action has this name. */
  public static final int UNKNOWN = 127;

  /** The longest message, in characters. */
  public static final int MAX_MESSAGE = 4096;

  public ActionResult {
    message = cut(message == null ? "" : message);
  }

  /** It succeeded. */
  public static ActionResult ok(String message) {
    return new ActionResult(0, message);
  }

  /**
   * It failed.
   *
   * @throws IllegalArgumentException when the code is 0
   */
  public static ActionResult failed(int code, String message) {
    if (code == 0) {
      throw new IllegalArgumentException("a failed action needs a return code other than 0");
    }
    return new ActionResult(code, message);
  }

  private static String cut(String text) {
    if (text.length() <= MAX_MESSAGE) {
      return text;
    }
    boolean splits = Character.isHighSurrogate(text.charAt(MAX_MESSAGE - 1));
    return text.substring(0, splits ? MAX_MESSAGE - 1 : MAX_MESSAGE);
  }
}
