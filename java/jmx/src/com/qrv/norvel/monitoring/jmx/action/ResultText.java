package com.qrv.norvel.monitoring.jmx.action;

import java.lang.reflect.Array;
import java.util.Collection;
import java.util.Map;
import javax.management.openmbean.CompositeData;
import javax.management.openmbean.TabularData;

/** Shows what an operation gave. */
final class ResultText {
  private static final int MAX_DEPTH = 5;
  private static final int MAX_LENGTH = 8192;

  private final StringBuilder text = new StringBuilder();

  private ResultText() {}

  /** The value as text, at most some thousand characters, without control characters. */
  static String of(Object value) {
    if (value == null) {
      return "done";
    }
    ResultText result = new ResultText();
    result.add(value, 0);
    return result.text.toString();
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
      addPlain(String.valueOf(value));
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

  private boolean isFull() {
    return text.length() > MAX_LENGTH;
  }

  private void addPlain(String plain) {
    int end = Math.min(plain.length(), MAX_LENGTH);
    for (int i = 0; i < end; i++) {
      char c = plain.charAt(i);
      text.append(Character.isISOControl(c) && c != '\n' && c != '\t' ? ' ' : c);
    }
  }
}
