package com.qrv.norvel.monitoring.toolkit.agent;

/** Helps to write pages. */
public final class Html {
  private Html() {}

  /** Makes any text safe inside an element and inside a quoted attribute; null becomes empty. */
  public static String escape(String text) {
    if (text == null) {
      return "";
    }
    StringBuilder safe = new StringBuilder(text.length() + 16);
    for (int i = 0; i < text.length(); i++) {
      char c = text.charAt(i);
      switch (c) {
        case '&':
          safe.append("&amp;");
          break;
        case '<':
          safe.append("&lt;");
          break;
        case '>':
          safe.append("&gt;");
          break;
        case '"':
          safe.append("&quot;");
          break;
        case '\'':
          safe.append("&#39;");
          break;
        default:
          safe.append(c);
      }
    }
    return safe.toString();
  }
}
