package com.qrv.norvel.monitoring.jmx.config;

/** The configuration file has a mistake; the message says where, and what was expected. */
public final class ConfigException extends Exception {
  private static final long serialVersionUID = 1L;
  private static final int MAX_LENGTH = 600;

  public ConfigException(String message) {
    super(message);
  }

  /**
   * A mistake at a place of a file.
   *
   * @param line from 1 on
   * @param column from 1 on
   */
  static ConfigException at(String file, int line, int column, String message) {
    return new ConfigException(file + ":" + line + ":" + column + ": " + inOneLine(message));
  }

  /** Messages quote the file, whose content may be long and anything. */
  private static String inOneLine(String message) {
    String text = message;
    if (text.length() > MAX_LENGTH) {
      int half = MAX_LENGTH / 2;
      text = text.substring(0, half) + " ... " + text.substring(text.length() - half);
    }
    StringBuilder shown = new StringBuilder();
    text.codePoints()
        .map(c -> YamlText.isShown(c) ? c : '?')
        .forEach(shown::appendCodePoint);
    return shown.toString();
  }
}
