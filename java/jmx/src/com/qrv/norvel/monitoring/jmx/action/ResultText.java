package com.qrv.norvel.monitoring.jmx.action;

import java.lang.reflect.Array;
import java.util.AbstractList;
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
    if (text.length() > MAX_LENGTH) {
      return;
    }
    if (depth > MAX_DEPTH) {
      text.append("...");
    } else if (value != null && value.getClass().isArray()) {
      addAll(new Elements(value), depth);
    } else if (value instanceof TabularData table) {
      addAll(table.values(), depth);
    } else if (value instanceof Collection<?> collection) {
      addAll(collection, depth);
    } else if (value instanceof CompositeData data) {
      String separator = "{";
      for (String key : data.getCompositeType().keySet()) {
        text.append(separator).append(key).append('=');
        add(data.get(key), depth + 1);
        separator = ", ";
      }
      text.append('}');
    } else if (value instanceof Map<?, ?> map) {
      addAll(map.entrySet(), depth);
    } else {
      addPlain(String.valueOf(value));
    }
  }

  private void addAll(Collection<?> values, int depth) {
    String separator = "[";
    for (Object each : values) {
      if (text.length() > MAX_LENGTH) {
        return;
      }
      text.append(separator);
      add(each, depth + 1);
      separator = ", ";
    }
    text.append(values.isEmpty() ? "[]" : "]");
  }

  /** An array of any type as a list. */
  private static final class Elements extends AbstractList<Object> {
    private final Object array;

    Elements(Object array) {
      this.array = array;
    }

    @Override
    public Object get(int index) {
      return Array.get(array, index);
    }

    @Override
    public int size() {
      return Array.getLength(array);
    }
  }

  private void addPlain(String plain) {
    int end = Math.min(plain.length(), MAX_LENGTH);
    for (int i = 0; i < end; i++) {
      char c = plain.charAt(i);
      text.append(Character.isISOControl(c) && c != '\n' && c != '\t' ? ' ' : c);
    }
  }
}
