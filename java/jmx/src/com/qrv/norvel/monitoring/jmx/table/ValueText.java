package com.qrv.norvel.monitoring.jmx.table;

import java.lang.reflect.Array;
import java.time.Instant;
import java.util.Collection;
import java.util.Date;
import java.util.Map;
import java.util.UUID;
import javax.management.ObjectName;
import javax.management.openmbean.CompositeData;
import javax.management.openmbean.TabularData;

/**
 * Shows a value that need not be plain: arrays, lists, maps and open data, up to a depth and a
 * length. Of what else may come, only the name of its class is shown.
 */
public final class ValueText {
  private static final int MAX_DEPTH = 5;

  private final StringBuilder text = new StringBuilder();
  private final int maxLength;

  private ValueText(int maxLength) {
    this.maxLength = maxLength;
  }

  /**
   * The value as text without control characters.
   *
   * @param maxLength of its parts; the text has hardly more characters
   */
  public static String of(Object value, int maxLength) {
    ValueText shown = new ValueText(maxLength);
    try {
      shown.add(value, 0);
    } catch (RuntimeException e) {
      // Open data of another JVM need not fit to their own description.
      shown.text.append("(malformed)");
    }
    return shown.text.toString();
  }

  private void add(Object value, int depth) {
    if (isFull()) {
      return;
    }
    if (depth > MAX_DEPTH) {
      text.append("...");
    } else if (value != null && value.getClass().isArray()) {
      addArray(value, depth);
    } else if (value instanceof TabularData table) {
      addAll(table.values(), depth);
    } else if (value instanceof Collection<?> collection) {
      addAll(collection, depth);
    } else if (value instanceof CompositeData data) {
      addFields(data, depth);
    } else if (value instanceof Map.Entry<?, ?> entry) {
      add(entry.getKey(), depth + 1);
      text.append('=');
      add(entry.getValue(), depth + 1);
    } else if (value instanceof Map<?, ?> map) {
      addAll(map.entrySet(), depth);
    } else {
      addPlain(simple(value));
    }
  }

  private void addFields(CompositeData data, int depth) {
    String separator = "{";
    for (String key : data.getCompositeType().keySet()) {
      if (isFull()) {
        return;
      }
      text.append(separator);
      addPlain(key);
      text.append('=');
      add(data.get(key), depth + 1);
      separator = ", ";
    }
    text.append('}');
  }

  /** An array of anything, of numbers too. */
  private void addArray(Object array, int depth) {
    text.append('[');
    for (int i = 0; i < Array.getLength(array) && !isFull(); i++) {
      text.append(i == 0 ? "" : ", ");
      add(Array.get(array, i), depth + 1);
    }
    text.append(']');
  }

  private void addAll(Collection<?> values, int depth) {
    String separator = "[";
    for (Object each : values) {
      if (isFull()) {
        return;
      }
      text.append(separator);
      add(each, depth + 1);
      separator = ", ";
    }
    text.append(values.isEmpty() ? "[]" : "]");
  }

  private static String simple(Object value) {
    if (value == null) {
      return "null";
    }
    if (value instanceof ObjectName name) {
      return name.getCanonicalName();
    }
    if (value instanceof Enum<?> constant) {
      return constant.name();
    }
    if (value instanceof Date date) {
      return Instant.ofEpochMilli(date.getTime()).toString();
    }
    String plain = value instanceof UUID id ? id.toString() : PlainValue.text(value);
    return plain != null ? plain : '(' + value.getClass().getName() + ')';
  }

  private boolean isFull() {
    return text.length() > maxLength;
  }

  private void addPlain(String plain) {
    int end = Math.min(plain.length(), maxLength);
    for (int i = 0; i < end; i++) {
      char c = plain.charAt(i);
      text.append(Character.isISOControl(c) && c != '\n' && c != '\t' ? ' ' : c);
    }
  }
}
