package com.qrv.norvel.monitoring.toolkit.agent;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * The parameters of a query or a form: {@code name=value&name=value}. Immutable.
 *
 * <p>Percent signs and plus signs are decoded as UTF-8. Whatever comes from outside can be read:
 * bytes that are not UTF-8 become U+FFFD, a percent sign without two digits stands for itself, a
 * name without "=" has an empty value, and what follows {@link #MAX_PARAMETERS} is left out.
 */
public final class QueryParameters {
  /** How many parameters are read. */
  public static final int MAX_PARAMETERS = 1000;

  private final Map<String, List<String>> values;

  private QueryParameters(Map<String, List<String>> values) {
    this.values = values;
  }

  /** Reads a query without its question mark; null and "" have no parameters. */
  public static QueryParameters parse(String query) {
    LinkedHashMap<String, List<String>> values = new LinkedHashMap<String, List<String>>();
    String text = query == null ? "" : query;
    int begin = 0;
    int read = 0;
    while (begin < text.length() && read < MAX_PARAMETERS) {
      int end = text.indexOf('&', begin);
      end = end < 0 ? text.length() : end;
      if (end > begin) {
        add(values, text.substring(begin, end));
        read++;
      }
      begin = end + 1;
    }
    return new QueryParameters(values);
  }

  /** The first value of a parameter, or null. */
  public String get(String name) {
    List<String> all = values.get(name);
    return all == null ? null : all.get(0);
  }

  /** The first value of a parameter, or another text. */
  public String get(String name, String otherwise) {
    String value = get(name);
    return value == null ? otherwise : value;
  }

  /** All values of a parameter in their order; none when it is absent. */
  public List<String> all(String name) {
    List<String> all = values.get(name);
    return all == null ? List.of() : Collections.unmodifiableList(all);
  }

  /** The names in the order of their first values. */
  public List<String> names() {
    return List.copyOf(values.keySet());
  }

  private static void add(Map<String, List<String>> values, String pair) {
    int equals = pair.indexOf('=');
    String name = decode(equals < 0 ? pair : pair.substring(0, equals));
    List<String> all = values.get(name);
    if (all == null) {
      all = new ArrayList<String>(1);
      values.put(name, all);
    }
    all.add(equals < 0 ? "" : decode(pair.substring(equals + 1)));
  }

  private static String decode(String text) {
    if (text.indexOf('%') < 0 && text.indexOf('+') < 0) {
      return text;
    }
    byte[] coded = text.getBytes(StandardCharsets.UTF_8);
    byte[] plain = new byte[coded.length];
    int length = 0;
    for (int i = 0; i < coded.length; i++) {
      int value = coded[i] == '%' ? escaped(coded, i) : -1;
      if (value >= 0) {
        plain[length++] = (byte) value;
        i += 2;
      } else {
        plain[length++] = coded[i] == '+' ? (byte) ' ' : coded[i];
      }
    }
    return new String(plain, 0, length, StandardCharsets.UTF_8);
  }

  /** The byte that a percent sign and two digits stand for, or -1. */
  private static int escaped(byte[] coded, int percent) {
    if (percent + 2 >= coded.length) {
      return -1;
    }
    int high = Character.digit((char) coded[percent + 1], 16);
    int low = Character.digit((char) coded[percent + 2], 16);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
  }
}
