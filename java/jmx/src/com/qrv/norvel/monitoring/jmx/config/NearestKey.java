package com.qrv.norvel.monitoring.jmx.config;

import java.util.Locale;

/** Guesses which key a mistyped one was meant to be. */
final class NearestKey {
  private NearestKey() {}

  /** The key with the fewest insertions, deletions and replacements away. */
  static String of(String typed, String... keys) {
    String nearest = keys[0];
    int least = Integer.MAX_VALUE;
    for (String key : keys) {
      int distance = distance(typed.toLowerCase(Locale.ROOT), key.toLowerCase(Locale.ROOT));
      if (distance < least) {
        least = distance;
        nearest = key;
      }
    }
    return nearest;
  }

  private static int distance(String a, String b) {
    int[] row = new int[b.length() + 1];
    for (int j = 0; j <= b.length(); j++) {
      row[j] = j;
    }
    for (int i = 1; i <= a.length(); i++) {
      int diagonal = row[0];
      row[0] = i;
      for (int j = 1; j <= b.length(); j++) {
        int replaced = diagonal + (a.charAt(i - 1) == b.charAt(j - 1) ? 0 : 1);
        diagonal = row[j];
        row[j] = Math.min(replaced, Math.min(row[j], row[j - 1]) + 1);
      }
    }
    return row[b.length()];
  }
}
