package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.toolkit.agent.Nearest;
import java.math.BigDecimal;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import org.yaml.snakeyaml.error.Mark;
import org.yaml.snakeyaml.nodes.MappingNode;
import org.yaml.snakeyaml.nodes.Node;
import org.yaml.snakeyaml.nodes.NodeTuple;
import org.yaml.snakeyaml.nodes.ScalarNode;
import org.yaml.snakeyaml.nodes.SequenceNode;
import org.yaml.snakeyaml.nodes.Tag;

/** A map of the file with a fixed set of keys, whose values are read with type and range. */
final class YamlMap {
  private final String file;
  private final String what;
  private final Node node;
  private final Map<String, Node> values = new HashMap<>();

  /**
   * @param what the place in the file, for messages
   * @param keys all keys that may occur
   */
  YamlMap(String file, String what, Node node, String... keys) throws ConfigException {
    this.file = file;
    this.what = what;
    this.node = node;
    if (!(node instanceof MappingNode)) {
      throw error(node, what + " must be a map of keys and values");
    }
    for (NodeTuple tuple : ((MappingNode) node).getValue()) {
      Node keyNode = tuple.getKeyNode();
      String key = keyNode instanceof ScalarNode ? ((ScalarNode) keyNode).getValue() : "?";
      if (!List.of(keys).contains(key)) {
        throw error(keyNode, unknown(key, tuple.getValueNode(), List.of(keys)));
      }
      if (values.put(key, tuple.getValueNode()) != null) {
        throw error(keyNode, "the key '" + key + "' appears twice in " + what);
      }
    }
  }

  private String unknown(String key, Node value, List<String> keys) {
    String text = value instanceof ScalarNode ? ((ScalarNode) value).getValue() : null;
    String advice = FormerKey.advice(key, text, keys);
    if (advice == null) {
      advice = "did you mean '" + Nearest.first(key, keys).get(0) + "'?";
    } else {
      advice += ".";
    }
    return "unknown key '" + key + "' in " + what + "; " + advice
        + " Known keys: " + String.join(", ", keys);
  }

  boolean has(String key) {
    return values.containsKey(key);
  }

  Node value(String key) {
    return values.get(key);
  }

  boolean bool(String key, boolean otherwise) throws ConfigException {
    Node value = values.get(key);
    if (value == null) {
      return otherwise;
    }
    if (value.getTag() != Tag.BOOL) {
      throw error(value, "'" + key + "' must be true or false");
    }
    String text = ((ScalarNode) value).getValue();
    return text.equalsIgnoreCase("true") || text.equalsIgnoreCase("yes")
        || text.equalsIgnoreCase("on");
  }

  int integer(String key, int min, int max, int otherwise) throws ConfigException {
    Node value = values.get(key);
    if (value == null) {
      return otherwise;
    }
    String expected = "'" + key + "' must be a whole number from " + min + " to " + max;
    if (!(value instanceof ScalarNode)) {
      throw error(value, expected);
    }
    String text = ((ScalarNode) value).getValue();
    try {
      long number = Long.parseLong(text);
      if (value.getTag() == Tag.INT && number >= min && number <= max) {
        return (int) number;
      }
    } catch (NumberFormatException e) {
      throw error(value, expected + ", not '" + text + "'");
    }
    throw error(value, expected + ", not '" + text + "'");
  }

  /** Milliseconds; the bounds, too. */
  int duration(String key, int min, int max, int otherwise) throws ConfigException {
    Node value = values.get(key);
    if (value == null) {
      return otherwise;
    }
    String expected =
        "'" + key + "' must be a duration from " + Durations.format(min) + " to "
            + Durations.format(max) + " with its unit (" + Durations.UNITS + ")";
    if (!(value instanceof ScalarNode)) {
      throw error(value, expected);
    }
    String text = ((ScalarNode) value).getValue();
    long millis = Durations.parse(text);
    if (millis == Durations.NONE || millis < min || millis > max) {
      List<String> guesses = Durations.guesses(text, min, max);
      throw error(
          value,
          expected + ", not '" + text + "'"
              + (guesses.isEmpty()
                  ? ""
                  : "; did you mean '" + String.join("' or '", guesses) + "'?"));
    }
    return (int) millis;
  }

  /** The text, or null without the key. */
  String text(String key) throws ConfigException {
    Node value = values.get(key);
    return value == null ? null : text(value, "'" + key + "'");
  }

  /** The text as the system's file names have it, or null without the key. */
  String path(String key) throws ConfigException {
    String text = text(key);
    try {
      return text == null ? null : Path.of(text).toString();
    } catch (InvalidPathException e) {
      throw error(key, "'" + key + "' is not a valid file name: " + e.getReason());
    }
  }

  /** The text; a mistake without the key. */
  String required(String key) throws ConfigException {
    String text = text(key);
    if (text == null) {
      throw error(key, "the key '" + key + "' is missing");
    }
    return text;
  }

  /** The number, or null without the key. */
  BigDecimal number(String key) throws ConfigException {
    Node value = values.get(key);
    if (value == null) {
      return null;
    }
    if (value.getTag() == Tag.INT || value.getTag() == Tag.FLOAT) {
      try {
        return new BigDecimal(((ScalarNode) value).getValue());
      } catch (NumberFormatException e) {
        throw error(value, "'" + key + "' must be a decimal number");
      }
    }
    throw error(value, "'" + key + "' must be a number");
  }

  /**
   * A map of texts with any keys; a value may be null.
   *
   * @param what the place in the file, for messages
   */
  static Map<String, String> texts(String file, String what, Node node) throws ConfigException {
    if (!(node instanceof MappingNode)) {
      throw error(file, node.getStartMark(), "'" + what + "' must be a map of names and values");
    }
    Map<String, String> texts = new LinkedHashMap<>();
    for (NodeTuple tuple : ((MappingNode) node).getValue()) {
      Node key = tuple.getKeyNode();
      Node value = tuple.getValueNode();
      if (!(key instanceof ScalarNode) || !(value instanceof ScalarNode)) {
        throw error(file, key.getStartMark(), "'" + what + "' must be a map of names and values");
      }
      String name = ((ScalarNode) key).getValue();
      boolean isNull = value.getTag() == Tag.NULL;
      if (texts.containsKey(name)) {
        throw error(file, key.getStartMark(), "the key '" + name + "' appears twice in " + what);
      }
      texts.put(name, isNull ? null : ((ScalarNode) value).getValue());
    }
    return texts;
  }

  private String text(Node value, String name) throws ConfigException {
    boolean isText =
        value instanceof ScalarNode
            && (value.getTag() == Tag.STR
                || value.getTag() == Tag.INT
                || value.getTag() == Tag.FLOAT);
    if (!isText || ((ScalarNode) value).getValue().isEmpty()) {
      throw error(value, name + " must be text");
    }
    String text = ((ScalarNode) value).getValue();
    // An escape can name either; the system's calls would end a text at the first.
    if (text.codePoints().anyMatch(c -> c == 0 || Character.getType(c) == Character.SURROGATE)) {
      throw error(value, name + " must be text without U+0000 and unpaired surrogates");
    }
    return text;
  }

  List<String> texts(String key, List<String> otherwise) throws ConfigException {
    if (!has(key)) {
      return otherwise;
    }
    List<String> texts = new ArrayList<>();
    for (Node element : list(key)) {
      texts.add(text(element, "each element of '" + key + "'"));
    }
    return texts;
  }

  /** The elements of a list; none without the key. */
  List<Node> list(String key) throws ConfigException {
    Node value = values.get(key);
    if (value == null) {
      return new ArrayList<>();
    }
    if (!(value instanceof SequenceNode)) {
      throw error(value, "'" + key + "' must be a list");
    }
    return ((SequenceNode) value).getValue();
  }

  /** Takes a name for one element of a list; a mistake when another has it. */
  void claim(String key, String name, Set<String> taken) throws ConfigException {
    if (!taken.add(name)) {
      throw error(key, "the name '" + name + "' is taken");
    }
  }

  /** A mistake at a key's value, or at the map when the key is absent. */
  ConfigException error(String key, String message) {
    return error(values.getOrDefault(key, node), message + " (in " + what + ")");
  }

  private ConfigException error(Node at, String message) {
    return error(file, at.getStartMark(), message);
  }

  static ConfigException error(String file, Mark mark, String message) {
    return ConfigException.at(file, mark.getLine() + 1, mark.getColumn() + 1, message);
  }
}
