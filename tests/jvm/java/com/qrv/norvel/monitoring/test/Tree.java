package com.qrv.norvel.monitoring.test;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Collectors;

/** Message trees: maps with Integer keys, lists and primitives. */
final class Tree {
  private Tree() {}

  /** A map of key, value, key, value, ... */
  static HashMap<Object, Object> map(Object... entries) {
    HashMap<Object, Object> map = new HashMap<>();
    for (int i = 0; i < entries.length; i += 2) {
      map.put(entries[i], entries[i + 1]);
    }
    return map;
  }

  static ArrayList<Object> list(Object... items) {
    return new ArrayList<>(List.of(items));
  }

  static Object get(Object map, int key) {
    return ((Map<?, ?>) map).get(key);
  }

  /** The tree in one line, every class told apart. */
  static String describe(Object value) {
    if (value == null) {
      return "null";
    }
    if (value instanceof byte[] bytes) {
      return "byte[] " + HexFormat.of().formatHex(bytes);
    }
    if (value instanceof HashMap<?, ?> map) {
      return new TreeMap<>(map)
          .entrySet().stream()
              .map(entry -> describe(entry.getKey()) + "=" + describe(entry.getValue()))
              .collect(Collectors.joining(", ", "{", "}"));
    }
    if (value instanceof ArrayList<?> list) {
      return list.stream().map(Tree::describe).collect(Collectors.joining(", ", "[", "]"));
    }
    return value.getClass().getSimpleName() + " " + value;
  }
}
