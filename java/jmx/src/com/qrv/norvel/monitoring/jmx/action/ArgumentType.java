package com.qrv.norvel.monitoring.jmx.action;

import java.math.BigDecimal;
import java.util.Locale;

/** Types of an argument. */
public enum ArgumentType {
  STRING("java.lang.String"),
  INT("int"),
  LONG("long"),
  BOOLEAN("boolean"),
  DOUBLE("double");

  private final String signature;

  ArgumentType(String signature) {
    this.signature = signature;
  }

  /** The type's name in the configuration and for people: "int". */
  public String text() {
    return name().toLowerCase(Locale.ROOT);
  }

  /** The type's name in the signature of an operation. */
  String signature() {
    return signature;
  }

  /** The value that a word states, or null when it states none of this type. */
  public Object parse(String word) {
    try {
      return switch (this) {
        case STRING -> word;
        case INT -> Integer.valueOf(word);
        case LONG -> Long.valueOf(word);
        case DOUBLE -> finite(new BigDecimal(word).doubleValue());
        case BOOLEAN -> word.equals("true") || word.equals("false") ? Boolean.valueOf(word) : null;
      };
    } catch (NumberFormatException e) {
      return null;
    }
  }

  private static Double finite(double number) {
    return Double.isFinite(number) ? number : null;
  }

  public boolean isNumber() {
    return this == INT || this == LONG || this == DOUBLE;
  }

  /** Whether a number can be one of this type. */
  public boolean holds(BigDecimal number) {
    return switch (this) {
      case INT -> isWhole(number, Integer.MIN_VALUE, Integer.MAX_VALUE);
      case LONG -> isWhole(number, Long.MIN_VALUE, Long.MAX_VALUE);
      case DOUBLE -> finite(number.doubleValue()) != null;
      case STRING, BOOLEAN -> false;
    };
  }

  private static boolean isWhole(BigDecimal number, long min, long max) {
    return number.compareTo(BigDecimal.valueOf(min)) >= 0
        && number.compareTo(BigDecimal.valueOf(max)) <= 0
        && number.stripTrailingZeros().scale() <= 0;
  }

  /** A bound as people write it: without ".0". */
  static String shown(BigDecimal bound) {
    BigDecimal plain = bound.stripTrailingZeros();
    return Math.abs(plain.scale()) < 20 ? plain.toPlainString() : plain.toString();
  }
}
