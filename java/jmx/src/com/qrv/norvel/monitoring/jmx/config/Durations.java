package com.qrv.norvel.monitoring.jmx.config;

import java.util.ArrayList;
import java.util.List;

/** Durations as both configuration files write them: a whole number and its unit, "500ms". */
final class Durations {
  /** The units, for messages. */
  static final String UNITS = "ms, s, m, h";

  /** Says that a text is no duration. */
  static final long NONE = -1;

  private static final long SECOND = 1000;
  private static final long MOST_MILLIS = 100L * 366 * 24 * 3600 * SECOND;

  private record Unit(String name, long millis) {}

  /** The largest first. */
  private static final List<Unit> ALL =
      List.of(
          new Unit("h", 3600 * SECOND),
          new Unit("m", 60 * SECOND),
          new Unit("s", SECOND),
          new Unit("ms", 1));

  private Durations() {}

  /** The milliseconds; {@link #NONE} for any other text and for more than a hundred years. */
  static long parse(String text) {
    int digits = digits(text);
    for (Unit unit : ALL) {
      if (text.substring(digits).equals(unit.name())) {
        return millis(text.substring(0, digits), unit);
      }
    }
    return NONE;
  }

  /** The same in the largest unit that gives a whole number. */
  static String format(long millis) {
    for (Unit unit : ALL) {
      if (millis != 0 && millis % unit.millis == 0) {
        return millis / unit.millis + unit.name();
      }
    }
    return millis + "ms";
  }

  /** What a number without a unit may have been meant as, from {@code min} to {@code max}. */
  static List<String> guesses(String number, long min, long max) {
    List<String> guesses = new ArrayList<>();
    for (Unit unit : ALL) {
      long millis = parse(number + unit.name());
      if (millis != NONE && millis >= min && millis <= max) {
        guesses.add(0, number + unit.name());
      }
    }
    return guesses;
  }

  private static long millis(String number, Unit unit) {
    try {
      long count = Long.parseLong(number);
      return count <= MOST_MILLIS / unit.millis ? count * unit.millis : NONE;
    } catch (NumberFormatException e) {
      return NONE;
    }
  }

  /** How many digits it begins with; only 0 to 9 are any. */
  private static int digits(String text) {
    int count = 0;
    while (count < text.length() && text.charAt(count) >= '0' && text.charAt(count) <= '9') {
      count++;
    }
    return count;
  }
}
