package com.qrv.norvel.monitoring.toolkit.agent;

/** The rule for names of tables and columns. */
final class Names {
  private static final int MAX_LENGTH = 31;

  private Names() {}

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
}
