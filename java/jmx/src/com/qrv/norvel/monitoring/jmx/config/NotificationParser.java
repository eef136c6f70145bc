package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import org.yaml.snakeyaml.nodes.Node;

/** Reads which notifications become event tables. */
final class NotificationParser {
  private static final int MAX_TABLE = 31;

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
    if (!table.matches("[A-Z][A-Z0-9_]*") || table.length() > MAX_TABLE) {
      throw map.error(
          "table",
          "'table' must be 1 to " + MAX_TABLE
              + " characters, an upper-case letter first, then A-Z, 0-9 or _");
    }
    if (table.startsWith(OWN) || !tables.add(table)) {
      throw map.error("table", "the name '" + table + "' is taken");
    }
    return new NotificationRule(table, BeanNames.checked(map), map.texts("types", List.of()));
  }
}
