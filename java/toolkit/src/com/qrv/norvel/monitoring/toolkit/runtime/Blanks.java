package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.ArrayList;

/** Names in columns of a fixed width arrive with the blanks that fill them. */
final class Blanks {
  private Blanks() {}

  static String trimEnd(String name) {
    int end = name.length();
    while (end > 0 && name.charAt(end - 1) == ' ') {
      end--;
    }
    return name.substring(0, end);
  }

  /** Trims each name in its place, and returns the list. */
  static ArrayList<String> trimEnds(ArrayList<String> names) {
    for (int i = 0; i < names.size(); i++) {
      names.set(i, trimEnd(names.get(i)));
    }
    return names;
  }
}
