package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.ArrayList;

/**
 * Splits a command into words. Blanks and tabs separate them; double quotes keep some together, and
 * inside them a backslash takes the next character as it is.
 */
final class Words {
  private final String text;
  private final ArrayList<String> words = new ArrayList<String>();
  private int at;

  private Words(String text) {
    this.text = text;
  }

  /**
   * @throws IllegalArgumentException says what is wrong and at which character, counted from 1
   */
  static ArrayList<String> of(String text) {
    Words words = new Words(text);
    words.read();
    return words.words;
  }

  private void read() {
    while (at < text.length()) {
      if (isBlank(text.charAt(at))) {
        at++;
      } else {
        words.add(word());
      }
    }
  }

  private String word() {
    StringBuilder word = new StringBuilder();
    while (at < text.length() && !isBlank(text.charAt(at))) {
      char c = text.charAt(at);
      if (c == '"') {
        quoted(word);
      } else {
        word.append(c);
        at++;
      }
    }
    return word.toString();
  }

  private void quoted(StringBuilder word) {
    int begin = at;
    at++;
    while (at < text.length() && text.charAt(at) != '"') {
      if (text.charAt(at) == '\\') {
        at++;
        if (at == text.length()) {
          throw new IllegalArgumentException(
              "character " + at + ": nothing follows the backslash");
        }
      }
      word.append(text.charAt(at));
      at++;
    }
    if (at == text.length()) {
      throw new IllegalArgumentException(
          "character " + (begin + 1) + ": the quote that begins here has no end");
    }
    at++;
  }

  private static boolean isBlank(char c) {
    return c == ' ' || c == '\t';
  }
}
