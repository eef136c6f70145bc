package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/** Chooses a language by what a browser accepts: "de-CH,de;q=0.9,en;q=0.8". */
final class LanguageChoice {
  private static final int MAX_RANGES = 50;

  private LanguageChoice() {}

  /**
   * The offered tag that the browser prefers; among equals the one that it names first; the first
   * one offered when it accepts none. A tag fits a range that it equals or is a variant of, and a
   * range that is a variant of it.
   *
   * @throws IllegalArgumentException when nothing is offered
   */
  static String of(String accepted, List<String> offered) {
    if (offered.isEmpty()) {
      throw new IllegalArgumentException("no language is offered");
    }
    String best = offered.get(0);
    double bestWeight = 0;
    String[] ranges = accepted == null ? new String[0] : accepted.split(",", MAX_RANGES + 1);
    for (int i = 0; i < ranges.length && i < MAX_RANGES; i++) {
      String range = rangeOf(ranges[i]);
      double weight = weightOf(ranges[i]);
      String fitting = weight > bestWeight ? fitting(range, offered) : null;
      if (fitting != null) {
        best = fitting;
        bestWeight = weight;
      }
    }
    return best;
  }

  private static String rangeOf(String part) {
    int semicolon = part.indexOf(';');
    return (semicolon < 0 ? part : part.substring(0, semicolon)).trim();
  }

  /** 1 without a weight, 0 for one that can't be read. */
  private static double weightOf(String part) {
    int equals = part.indexOf("q=");
    if (equals < 0) {
      return 1;
    }
    try {
      double weight = Double.parseDouble(part.substring(equals + 2).trim());
      return weight >= 0 && weight <= 1 ? weight : 0;
    } catch (NumberFormatException unreadable) {
      return 0;
    }
  }

  private static String fitting(String range, List<String> offered) {
    if (range.equals("*")) {
      return offered.get(0);
    }
    for (int i = 0; i < offered.size(); i++) {
      if (offered.get(i).equalsIgnoreCase(range)) {
        return offered.get(i);
      }
    }
    for (int i = 0; i < offered.size(); i++) {
      if (isVariant(offered.get(i), range) || isVariant(range, offered.get(i))) {
        return offered.get(i);
      }
    }
    return null;
  }

  private static boolean isVariant(String tag, String general) {
    return !general.isEmpty()
        && tag.length() > general.length()
        && tag.charAt(general.length()) == '-'
        && tag.regionMatches(true, 0, general, 0, general.length());
  }
}
