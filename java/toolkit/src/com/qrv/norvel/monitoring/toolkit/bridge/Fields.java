package com.qrv.norvel.monitoring.toolkit.bridge;

import java.util.ArrayList;
import java.util.HashMap;

/** Typed reading of a map that came from the native side. */
public final class Fields {
  private final String what;
  private final HashMap<?, ?> map;

  private Fields(String what, HashMap<?, ?> map) {
    this.what = what;
    this.map = map;
  }

  /**
   * Wraps a value that should be a map.
   *
   * @param what names the map in messages, "sample request" say
   */
  public static Fields of(String what, Object value) throws MalformedMessageException {
    if (value instanceof HashMap) {
      return new Fields(what, (HashMap<?, ?>) value);
    }
    throw new MalformedMessageException(what + ": expected a map, got " + kind(value));
  }

  public String text(int key) throws MalformedMessageException {
    return get(key, String.class);
  }

  public int integer(int key) throws MalformedMessageException {
    return get(key, Integer.class).intValue();
  }

  public boolean flag(int key) throws MalformedMessageException {
    return get(key, Boolean.class).booleanValue();
  }

  public ArrayList<?> list(int key) throws MalformedMessageException {
    return get(key, ArrayList.class);
  }

  Long handle(int key) throws MalformedMessageException {
    return get(key, Long.class);
  }

  Object value(int key) {
    return map.get(key);
  }

  /** A list all of whose elements are texts. */
  public ArrayList<String> texts(int key) throws MalformedMessageException {
    ArrayList<?> values = list(key);
    ArrayList<String> texts = new ArrayList<String>(values.size());
    for (int i = 0; i < values.size(); i++) {
      Object value = values.get(i);
      if (!(value instanceof String)) {
        throw new MalformedMessageException(
            what + ": expected text in the list of key " + key + ", got " + kind(value));
      }
      texts.add((String) value);
    }
    return texts;
  }

  private <T> T get(int key, Class<T> type) throws MalformedMessageException {
    Object value = map.get(key);
    if (!type.isInstance(value)) {
      throw new MalformedMessageException(
          what + ": key " + key + ": expected " + type.getSimpleName() + ", got " + kind(value));
    }
    return type.cast(value);
  }

  private static String kind(Object value) {
    return value == null ? "nothing" : value.getClass().getSimpleName();
  }
}
