package com.qrv.norvel.monitoring.jmx.action;

import java.math.BigDecimal;
import java.util.List;
import java.util.Locale;

/**
 * One argument of an operation that the configuration allows. Immutable.
 *
 * @param name for people
 * @param type what it becomes for the MBean
 * @param choices the only texts that are taken; empty: any of the type
 * @param min the least number that is taken; null without a bound
 * @param max the greatest number that is taken; null without a bound
 */
public record Argument(
    String name, ArgumentType type, List<String> choices, BigDecimal min, BigDecimal max) {
  public Argument {
    choices = List.copyOf(choices);
  }

  /**
   * Turns a word of a command into the MBean's type.
   *
   * @throws IllegalArgumentException when it can't be; the message says what was expected
   */
  Object valueOf(String word) {
    if (!choices.isEmpty() && !choices.contains(word)) {
      throw new IllegalArgumentException(
          "expected one of " + String.join(", ", choices) + ", not '" + word + "'");
    }
    Object value = type.parse(word);
    if (value == null) {
      throw new IllegalArgumentException("expected " + type.text() + ", not '" + word + "'");
    }
    if (value instanceof Number && !isInRange(value)) {
      throw new IllegalArgumentException("expected " + range() + ", not '" + word + "'");
    }
    return value;
  }

  /** Whether a word is a value for it. */
  public boolean accepts(String word) {
    try {
      valueOf(word);
      return true;
    } catch (IllegalArgumentException e) {
      return false;
    }
  }

  /** By its decimal digits: a double can't tell great numbers apart. */
  private boolean isInRange(Object value) {
    BigDecimal number = new BigDecimal(value.toString());
    return (min == null || number.compareTo(min) >= 0)
        && (max == null || number.compareTo(max) <= 0);
  }

  private String range() {
    if (min == null) {
      return "at most " + ArgumentType.shown(max);
    }
    return max == null
        ? "at least " + ArgumentType.shown(min)
        : ArgumentType.shown(min) + " to " + ArgumentType.shown(max);
  }

  /** As it appears in the list of actions: {@code REGION=eu|us}, {@code DAYS:int}. */
  String usage() {
    return name.toUpperCase(Locale.ROOT)
        + (choices.isEmpty() ? ":" + type.text() : "=" + String.join("|", choices));
  }
}
