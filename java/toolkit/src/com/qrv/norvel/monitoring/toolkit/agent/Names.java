package com.qrv.norvel.monitoring.toolkit.agent;

/** The rules for the names that an application gives. */
public final class Names {
  private static final int MAX_LENGTH = 31;
  private static final int MAX_WORD = 64;

  private Names() {}

  /**
   * The name of a table or column.
   *
   * @throws IllegalArgumentException when it breaks the rule, which the message tells
   */
  static String checked(String what, String name) {
    if (!isValid(name)) {
      throw new IllegalArgumentException(
          what
              + " name '"
              + name
              + "': expected 1 to "
              + MAX_LENGTH
              + " characters, an upper-case letter first, then A-Z, 0-9 or _");
    }
    return name;
  }

  /**
   * The word of an action.
   *
   * @throws IllegalArgumentException when it breaks the rule, which the message tells
   */
  public static String checkedWord(String word) {
    if (!isWord(word)) {
      throw new IllegalArgumentException(
          "action '"
              + word
              + "': expected 1 to "
              + MAX_WORD
              + " letters, digits, dots, underscores and hyphens");
    }
    return word;
  }

  private static boolean isValid(String name) {
    if (name == null || name.isEmpty() || name.length() > MAX_LENGTH) {
      return false;
    }
    for (int i = 0; i < name.length(); i++) {
      char c = name.charAt(i);
      boolean letter = c >= 'A' && c <= 'Z';
      boolean other = (c >= '0' && c <= '9') || c == '_';
      if (!letter && (i == 0 || !other)) {
        return false;
      }
    }
    return true;
  }

  private static boolean isWord(String word) {
    if (word == null || word.isEmpty() || word.length() > MAX_WORD) {
      return false;
    }
    for (int i = 0; i < word.length(); i++) {
      char c = word.charAt(i);
      boolean letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
      if (!letter && !(c >= '0' && c <= '9') && c != '.' && c != '_' && c != '-') {
        return false;
      }
    }
    return true;
  }
}
