package com.qrv.norvel.monitoring.jmx.action;

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
        case DOUBLE -> finite(Double.parseDouble(word));
        case BOOLEAN -> word.equals("true") || word.equals("false") ? Boolean.valueOf(word) : null;
      };
    } catch (NumberFormatException e) {
      return null;
    }
  }

  private static Double finite(double number) {
    return Double.isFinite(number) ? number : null;
  }

  /** A bound as people write it: without ".0". */
  static String shown(double bound) {
    return bound == Math.rint(bound) && Math.abs(bound) < 1e15
        ? Long.toString((long) bound)
        : Double.toString(bound);
  }
}
