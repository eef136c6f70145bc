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
    map.claim("name", name, names);
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
    checkEachPart(map, rule);
    return rule;
  }

  /** Each part by itself, so that a mistake is told where it stands. */
  private static void checkEachPart(YamlMap map, DaemonRule rule) throws ConfigException {
    boolean perTarget = rule.perTarget();
    List<String> any = List.of("/any");
    Map<String, String> none = Map.of();
    String directory = rule.directory();
    String stdout = rule.stdout();
    String stderr = rule.stderr();
    check(map, "command", new DaemonRule("", rule.words(), perTarget, null, null, null, none));
    check(map, "directory", new DaemonRule("", any, perTarget, directory, null, null, none));
    check(map, "stdout", new DaemonRule("", any, perTarget, null, stdout, null, none));
    check(map, "stderr", new DaemonRule("", any, perTarget, null, null, stderr, none));
    Map<String, String> environment = rule.environment();
    check(map, "environment", new DaemonRule("", any, perTarget, null, null, null, environment));
  }

  private static void check(YamlMap map, String key, DaemonRule part) throws ConfigException {
    String variable = part.strayVariable();
    if (variable != null) {
      throw map.error(
          key,
          "'" + variable + "' has no meaning"
              + (part.perTarget() ? "; there are ${pid} and ${subnode}" : " 'for: agent'"));
    }
    try {
      part.command("1", "subnode");
    } catch (IllegalArgumentException e) {
      throw map.error(key, "the daemon can't be started: " + e.getMessage());
    }
  }

  private static boolean isPerTarget(YamlMap map) throws ConfigException {
    String whom = map.required("for");
    if (!whom.equals("agent") && !whom.equals("target")) {
      throw map.error("for", "'for' must be agent or target");
    }
    return whom.equals("target");
  }
}
