package com.qrv.norvel.monitoring.jmx.config;

import java.util.List;
import java.util.Locale;

/**
 * A key as files had it once, "retryMinMillis: 500", where it is "retry_min: 500ms" now: in camel
 * case, and with the unit of its value in its name.
 */
final class FormerKey {
  private FormerKey() {}

  /**
   * What to write instead.
   *
   * @param value of the key; null when it is not a single word
   * @param keys as they are now
   * @return null when the key was never one of these
   */
  static String advice(String key, String value, List<String> keys) {
    String snake = key.replaceAll("(?<=[a-z])(?=[A-Z])", "_").toLowerCase(Locale.ROOT);
    String now = snake.replaceAll("_(millis|seconds)$", "");
    if (snake.equals(key) || !keys.contains(now)) {
      return null;
    }
    if (now.equals(snake)) {
      return "write '" + now + "' instead of '" + key + "'";
    }
    String unit = snake.endsWith("_millis") ? "ms" : "s";
    long millis = value == null ? Durations.NONE : Durations.parse(value + unit);
    return millis == Durations.NONE
        ? "write '" + now + "' instead of '" + key + "', and a duration with its unit ("
            + Durations.UNITS + ")"
        : "write '" + now + ": " + Durations.format(millis) + "' instead of '" + key + ": " + value
            + "'";
  }
}
