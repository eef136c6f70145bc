package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.action.Operation;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import com.qrv.norvel.monitoring.jmx.link.RemoteAddress;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import org.yaml.snakeyaml.nodes.Node;
import org.yaml.snakeyaml.nodes.Tag;

/** Turns the nodes of a configuration file into a {@link JmxConfig}, or says what is wrong. */
final class ConfigParser {
  private static final int MAX_NAME = 32;
  private static final int SECOND = 1000;
  private static final int MINUTE = 60 * SECOND;
  private static final int HOUR = 60 * MINUTE;

  private final String file;

  /** @param file names the file in messages */
  ConfigParser(String file) {
    this.file = file;
  }

  /** @param root of the file; null when it is empty */
  JmxConfig parse(Node root) throws ConfigException {
    JmxConfig defaults = JmxConfig.defaults();
    if (root == null || root.getTag() == Tag.NULL) {
      return defaults;
    }
    YamlMap top =
        new YamlMap(
            file, "the file", root, "local", "remote", "calls", "max_targets", "actions",
            "daemons", "notifications");
    JmxConfig.Local local =
        top.has("local") ? local(top.value("local"), defaults.local()) : defaults.local();
    JmxConfig.Calls calls =
        top.has("calls") ? calls(top.value("calls"), defaults.calls()) : defaults.calls();
    int maxTargets = top.integer("max_targets", 1, 10_000, defaults.maxTargets());
    List<JmxConfig.Remote> remote = new ArrayList<>();
    Set<String> names = new HashSet<>();
    names.add(SelfJvm.NAME);
    for (Node element : top.list("remote")) {
      remote.add(remote(element, names));
    }
    if (remote.size() > maxTargets) {
      throw top.error("remote", "there are more than max_targets (" + maxTargets + ") JVMs");
    }
    List<Operation> actions = new ActionParser(file).parse(top.list("actions"));
    List<DaemonRule> daemons = new DaemonParser(file).parse(top.list("daemons"));
    List<NotificationRule> notifications =
        new NotificationParser(file).parse(top.list("notifications"));
    return new JmxConfig(local, remote, calls, maxTargets, actions, daemons, notifications);
  }

  private JmxConfig.Local local(Node node, JmxConfig.Local defaults) throws ConfigException {
    YamlMap map =
        new YamlMap(file, "local", node, "enabled", "interval", "include", "exclude");
    return new JmxConfig.Local(
        map.bool("enabled", defaults.enabled()),
        map.duration("interval", SECOND, HOUR, defaults.intervalMillis()),
        map.texts("include", defaults.include()),
        map.texts("exclude", defaults.exclude()));
  }

  private JmxConfig.Calls calls(Node node, JmxConfig.Calls defaults) throws ConfigException {
    YamlMap map =
        new YamlMap(
            file, "calls", node, "timeout", "retry_min", "retry_max", "heartbeat", "seldom");
    int retryMin = map.duration("retry_min", 100, 10 * MINUTE, defaults.retryMinMillis());
    int retryMax =
        map.duration("retry_max", 100, HOUR, Math.max(retryMin, defaults.retryMaxMillis()));
    if (retryMax < retryMin) {
      throw map.error("retry_max", "'retry_max' must be at least 'retry_min'");
    }
    return new JmxConfig.Calls(
        map.duration("timeout", 100, MINUTE, defaults.timeoutMillis()),
        retryMin,
        retryMax,
        map.duration("heartbeat", SECOND, HOUR, defaults.heartbeatMillis()),
        map.duration("seldom", 0, HOUR, defaults.seldomMillis()));
  }

  private JmxConfig.Remote remote(Node node, Set<String> names) throws ConfigException {
    YamlMap map =
        new YamlMap(
            file,
            "an element of remote",
            node,
            "name",
            "url",
            "host",
            "port",
            "user",
            "password_file",
            "allowed_hosts");
    String name = map.required("name");
    if (!isName(name)) {
      throw map.error(
          "name", "'name' must be 1 to " + MAX_NAME + " of the characters A-Z a-z 0-9 _ . : -");
    }
    map.claim("name", name, names);
    String url = map.text("url");
    String host = map.text("host");
    if ((url == null) == (host == null)) {
      throw map.error(
          url == null ? "name" : "url", "either 'url' or 'host' and 'port' must be given");
    }
    if (url != null) {
      checkUrl(map, url);
    }
    if (map.has("port") != (host != null)) {
      throw map.error(host == null ? "port" : "host", "'host' and 'port' go together");
    }
    if (map.has("user") != map.has("password_file")) {
      throw map.error(
          map.has("user") ? "user" : "password_file", "'user' and 'password_file' go together");
    }
    return new JmxConfig.Remote(
        name,
        url,
        host,
        map.integer("port", 1, 65_535, 0),
        map.text("user"),
        map.path("password_file"),
        map.texts("allowed_hosts", List.of()));
  }

  private static void checkUrl(YamlMap map, String url) throws ConfigException {
    try {
      RemoteAddress.parse(url);
    } catch (IllegalArgumentException e) {
      throw map.error("url", "'url' is wrong: " + e.getMessage());
    }
  }

  private static boolean isName(String name) {
    for (int i = 0; i < name.length(); i++) {
      char c = name.charAt(i);
      boolean allowed =
          (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')
              || c == '_' || c == '.' || c == ':' || c == '-';
      if (!allowed) {
        return false;
      }
    }
    return !name.isEmpty() && name.length() <= MAX_NAME;
  }
}
