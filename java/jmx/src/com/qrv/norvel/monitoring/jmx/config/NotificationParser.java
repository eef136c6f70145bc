package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import org.yaml.snakeyaml.nodes.Node;

/** Reads which notifications become event tables. */
final class NotificationParser {
  /** What the names of this application's own tables begin with. */
  private static final String OWN = "JVM_";

  private final String file;

  NotificationParser(String file) {
    this.file = file;
  }

  List<NotificationRule> parse(List<Node> elements) throws ConfigException {
    List<NotificationRule> rules = new ArrayList<>();
    Set<String> tables = new HashSet<>();
    for (Node element : elements) {
      rules.add(rule(element, tables));
    }
    return rules;
  }

  private NotificationRule rule(Node node, Set<String> tables) throws ConfigException {
    YamlMap map =
        new YamlMap(file, "an element of notifications", node, "table", "mbean", "types");
    String table = map.required("table");
    try {
      TableDefinition.builder(table);
    } catch (IllegalArgumentException e) {
      throw map.error("table", e.getMessage());
    }
    if (table.startsWith(OWN)) {
      throw map.error("table", "'" + OWN + "' begins the names of the agent's own tables only");
    }
    map.claim("table", table, tables);
    return new NotificationRule(table, BeanNames.checked(map), map.texts("types", List.of()));
  }
}
