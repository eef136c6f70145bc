package com.qrv.norvel.monitoring.jmx.table;

import java.math.BigDecimal;
import java.math.BigInteger;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.concurrent.atomic.AtomicLong;

/**
 * The values that cells are made of: texts, booleans, characters, and numbers of up to {@value
 * #MAX_BITS} bits. All others would run code whose time another JVM decides: lists in lists double
 * what they show at each level, and the digits of a long number take the square of their count.
 */
public final class PlainValue {
  static final int MAX_BITS = 1024;

  private PlainValue() {}

  /** The text of a value, or null when it has none. */
  public static String text(Object value) {
    if (value instanceof String) {
      return (String) value;
    }
    if (value instanceof Boolean || value instanceof Character || isNumber(value)) {
      return value.toString();
    }
    return null;
  }

  static Unavailable tooLong() {
    return Unavailable.because("its number has more than " + MAX_BITS + " bits");
  }

  /** A text that is not longer than so many characters; null stays null. */
  public static String cut(String text, int length) {
    return text == null || text.length() <= length ? text : text.substring(0, length);
  }

  /** Whether it is a number that can be computed with. */
  public static boolean isNumber(Object value) {
    if (value instanceof BigInteger) {
      return ((BigInteger) value).bitLength() <= MAX_BITS;
    }
    if (value instanceof BigDecimal) {
      return ((BigDecimal) value).unscaledValue().bitLength() <= MAX_BITS;
    }
    return value instanceof Long
        || value instanceof Integer
        || value instanceof Double
        || value instanceof Float
        || value instanceof Short
        || value instanceof Byte
        || value instanceof AtomicLong
        || value instanceof AtomicInteger;
  }

  static boolean isTooLong(Object value) {
    return (value instanceof BigInteger || value instanceof BigDecimal) && !isNumber(value);
  }

  /** A number without its fraction, as a Long, or {@link Unavailable} when that can't hold it. */
  public static Object whole(Object number) {
    if (number instanceof BigDecimal) {
      return whole((BigDecimal) number);
    }
    if (number instanceof BigInteger) {
      BigInteger big = (BigInteger) number;
      return big.bitLength() < Long.SIZE ? (Object) big.longValue() : tooLarge();
    }
    if (number instanceof Double || number instanceof Float) {
      return whole(((Number) number).doubleValue());
    }
    return ((Number) number).longValue();
  }

  /** Rounds it towards zero; what is no finite number is what the JVM does not know. */
  private static Object whole(double number) {
    if (Double.isNaN(number) || Double.isInfinite(number)) {
      return Unavailable.NOTHING;
    }
    // The greatest long is no double; its successor is.
    return Math.abs(number) < 0x1p63 ? (Object) (long) number : tooLarge();
  }

  private static Object whole(BigDecimal number) {
    // Without the digits behind the point, whose number may be anything.
    long digits = (long) number.precision() - number.scale();
    if (digits <= 0) {
      return 0L;
    }
    return digits < 20 ? whole(number.toBigInteger()) : tooLarge();
  }

  private static Unavailable tooLarge() {
    return Unavailable.because("it is a number of more than 64 bits");
  }

  /** A fraction in thousandths, rounded, or {@link Unavailable}. */
  static Object thousandths(Object number) {
    double fraction = number instanceof BigDecimal ? tame((BigDecimal) number)
        : ((Number) number).doubleValue();
    // "Not known" is a negative number for most attributes and NaN for some virtual machines.
    if (!(fraction >= 0) || Double.isInfinite(fraction)) {
      return Unavailable.NOTHING;
    }
    double thousandths = Math.floor(fraction * 1000 + 0.5);
    return thousandths < 0x1p63 ? (Object) (long) thousandths : tooLarge();
  }

  /** As a double; computed only where that is a matter of a few digits. */
  private static double tame(BigDecimal number) {
    long digits = (long) number.precision() - number.scale();
    if (digits > 310) {
      return Double.POSITIVE_INFINITY;
    }
    return digits < -310 ? 0 : number.doubleValue();
  }
}
