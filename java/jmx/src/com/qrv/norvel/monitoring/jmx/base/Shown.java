package com.qrv.norvel.monitoring.jmx.base;

/** Texts of others as they may be shown: without control characters, and not endless. */
public final class Shown {
  private static final int NAME_LENGTH = 200;

  private Shown() {}

  /** A name of somebody else's choice: of an MBean, say. */
  public static String name(Object name) {
    return text(String.valueOf(name), NAME_LENGTH);
  }

  /** A text on one line, with dots in place of what is longer; null stays null. */
  public static String text(String text, int maxLength) {
    if (text == null) {
      return null;
    }
    int end = Math.min(text.length(), maxLength);
    StringBuilder shown = new StringBuilder(end + 3);
    for (int i = 0; i < end; i++) {
      char c = text.charAt(i);
      shown.append(Character.isISOControl(c) ? ' ' : c);
    }
    return end == text.length() ? shown.toString() : shown.append("...").toString();
  }
}
