package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import org.yaml.snakeyaml.nodes.Node;

/** Reads the programs that are to run beside the agent or its targets. */
final class DaemonParser {
  private final String file;

  DaemonParser(String file) {
    this.file = file;
  }

  List<DaemonRule> parse(List<Node> elements) throws ConfigException {
    List<DaemonRule> rules = new ArrayList<>();
    Set<String> names = new HashSet<>();
    for (Node element : elements) {
      rules.add(rule(element, names));
    }
    return rules;
  }

  private DaemonRule rule(Node node, Set<String> names) throws ConfigException {
    YamlMap map =
        new YamlMap(
            file,
            "an element of daemons",
            node,
            "name",
            "command",
            "for",
            "directory",
            "stdout",
            "stderr",
            "environment");
    String name = map.required("name");
    if (!names.add(name)) {
      throw map.error("name", "the name '" + name + "' is taken");
    }
    List<String> words = map.texts("command", List.of());
    if (words.isEmpty()) {
      throw map.error("command", "'command' must list a program and its arguments");
    }
    Map<String, String> environment =
        map.has("environment")
            ? YamlMap.texts(file, "environment", map.value("environment"))
            : new LinkedHashMap<>();
    DaemonRule rule =
        new DaemonRule(
            name,
            words,
            isPerTarget(map),
            map.text("directory"),
            map.text("stdout"),
            map.text("stderr"),
            environment);
    try {
      rule.command("1", "subnode");
    } catch (IllegalArgumentException e) {
      throw map.error("command", "the daemon can't be started: " + e.getMessage());
    }
    boolean isTargetNamed = String.join(" ", words).contains("${");
    if (!rule.perTarget() && isTargetNamed) {
      throw map.error("command", "${pid} and ${subnode} have a meaning 'for: target' only");
    }
    return rule;
  }

  private static boolean isPerTarget(YamlMap map) throws ConfigException {
    String whom = map.required("for");
    if (!whom.equals("agent") && !whom.equals("target")) {
      throw map.error("for", "'for' must be agent or target");
    }
    return whom.equals("target");
  }
}
