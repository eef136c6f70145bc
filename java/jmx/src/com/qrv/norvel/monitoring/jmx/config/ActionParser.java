package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.action.Argument;
import com.qrv.norvel.monitoring.jmx.action.ArgumentType;
import com.qrv.norvel.monitoring.jmx.action.Operation;
import com.qrv.norvel.monitoring.jmx.action.TargetActions;
import com.qrv.norvel.monitoring.toolkit.agent.Names;
import java.math.BigDecimal;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import org.yaml.snakeyaml.nodes.Node;

/** Reads the actions that people may run. */
final class ActionParser {
  private final String file;

  ActionParser(String file) {
    this.file = file;
  }

  List<Operation> parse(List<Node> elements) throws ConfigException {
    List<Operation> actions = new ArrayList<>();
    Set<String> words = new HashSet<>(TargetActions.RESERVED);
    for (Node element : elements) {
      actions.add(action(element, words));
    }
    return actions;
  }

  private Operation action(Node node, Set<String> words) throws ConfigException {
    YamlMap map =
        new YamlMap(
            file,
            "an element of actions",
            node,
            "name",
            "mbean",
            "operation",
            "arguments",
            "description");
    String word = map.required("name");
    try {
      Names.checkedWord(word);
    } catch (IllegalArgumentException e) {
      throw map.error("name", e.getMessage());
    }
    map.claim("name", word, words);
    String bean = BeanNames.checked(map);
    List<Argument> arguments = new ArrayList<>();
    Set<String> names = new HashSet<>();
    for (Node element : map.list("arguments")) {
      arguments.add(argument(element, names));
    }
    String description = map.text("description");
    return new Operation(
        word, bean, map.required("operation"), arguments, description == null ? "" : description);
  }

  private Argument argument(Node node, Set<String> names) throws ConfigException {
    YamlMap map =
        new YamlMap(
            file, "an element of arguments", node, "name", "type", "choices", "min", "max");
    String name = map.required("name");
    map.claim("name", name, names);
    ArgumentType type = type(map);
    if (!type.isNumber() && (map.has("min") || map.has("max"))) {
      throw map.error(
          map.has("min") ? "min" : "max",
          "only a number has 'min' and 'max', not a " + type.text());
    }
    BigDecimal min = bound(map, "min", type);
    BigDecimal max = bound(map, "max", type);
    if (min != null && max != null && min.compareTo(max) > 0) {
      throw map.error("max", "'max' must be at least 'min'");
    }
    return new Argument(name, type, choices(map, type, min, max), min, max);
  }

  private static BigDecimal bound(YamlMap map, String key, ArgumentType type)
      throws ConfigException {
    BigDecimal bound = map.number(key);
    if (bound != null && !type.holds(bound)) {
      throw map.error(key, "'" + key + "' must be a value of the type " + type.text());
    }
    return bound;
  }

  private static List<String> choices(
      YamlMap map, ArgumentType type, BigDecimal min, BigDecimal max) throws ConfigException {
    List<String> choices = map.texts("choices", List.of());
    Argument any = new Argument("", type, List.of(), min, max);
    for (String choice : choices) {
      if (type.parse(choice) == null) {
        throw map.error("choices", "'" + choice + "' is not of the type " + type.text());
      }
      if (!any.accepts(choice)) {
        throw map.error("choices", "'" + choice + "' is not between 'min' and 'max'");
      }
    }
    return choices;
  }

  private static ArgumentType type(YamlMap map) throws ConfigException {
    String text = map.text("type");
    if (text == null) {
      return ArgumentType.STRING;
    }
    List<String> known = new ArrayList<>();
    for (ArgumentType type : ArgumentType.values()) {
      if (type.text().equals(text)) {
        return type;
      }
      known.add(type.text());
    }
    throw map.error("type", "'type' must be one of " + String.join(", ", known));
  }
}
