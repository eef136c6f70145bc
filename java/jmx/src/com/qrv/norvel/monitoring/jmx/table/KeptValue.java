package com.qrv.norvel.monitoring.jmx.table;

import java.util.HashMap;
import java.util.Map;
import javax.management.openmbean.CompositeData;

/**
 * The form in which an attribute's value is kept: plain ones as they are, but a text of at most
 * {@value #MAX_TEXT} characters; of composite ones at most {@value #MAX_ITEMS} items, those that
 * are numbers, as a map. No column takes anything else.
 */
public final class KeptValue {
  static final int MAX_TEXT = 256;
  static final int MAX_ITEMS = 32;

  private KeptValue() {}

  /** What is kept of a value, or {@link Unavailable}. */
  public static Object of(Object value) {
    if (value == null) {
      return Unavailable.NOTHING;
    }
    if (value instanceof String) {
      return PlainValue.cut((String) value, MAX_TEXT);
    }
    if (PlainValue.isTooLong(value)) {
      return PlainValue.tooLong();
    }
    if (PlainValue.text(value) != null) {
      return value;
    }
    if (value instanceof CompositeData) {
      return numbers((CompositeData) value);
    }
    return Unavailable.because(
        "it is not a text, a number or a composite value but a " + value.getClass().getName());
  }

  private static Object numbers(CompositeData data) {
    Map<String, Object> numbers = new HashMap<>();
    try {
      for (String item : data.getCompositeType().keySet()) {
        Object value = data.get(item);
        if (value == null || PlainValue.isNumber(value)) {
          numbers.put(item, value);
        }
        if (numbers.size() == MAX_ITEMS) {
          break;
        }
      }
    } catch (RuntimeException e) {
      return Unavailable.because("its composite value does not fit to its own description");
    }
    return numbers;
  }
}
