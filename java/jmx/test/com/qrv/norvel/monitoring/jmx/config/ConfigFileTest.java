package com.qrv.norvel.monitoring.jmx.config;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.action.Argument;
import com.qrv.norvel.monitoring.jmx.action.ArgumentType;
import com.qrv.norvel.monitoring.jmx.action.Operation;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.io.IOException;
import java.math.BigDecimal;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

final class ConfigFileTest {
  private static final String ARGUMENT =
      "actions:\n- name: a\n  mbean: 'a:b=c'\n  operation: o\n  arguments:\n  - ";

  @TempDir private Path directory;

  @ParameterizedTest
  @ValueSource(
      strings = {"", "\n\n", "# a: b\n  # c\n", "---\n", "local:\n  enabled: true\n", "{}"})
  void aFileThatChangesNothingGivesTheDefaults(String text) throws Exception {
    assertThat(read(text)).isEqualTo(JmxConfig.defaults());
  }

  @Test
  void readsEveryKey() throws Exception {
    JmxConfig config =
        read(
            "max_targets: 3\n"
                + "local: {enabled: no, interval: 1m, include: [a.*, b], exclude: ['*c']}\n"
                + "calls: {timeout: 500ms, retry_min: 200ms, retry_max: 400ms,\n"
                + "        heartbeat: 10s, seldom: 0s}\n"
                + "remote:\n"
                + "  - {name: one, host: db1, port: 9010, user: u, password_file: p,\n"
                + "     allowed_hosts: [db2, 192.0.2.7]}\n"
                + "  - {name: two, url: 'service:jmx:rmi:///jndi/rmi://h:1/jmxrmi'}\n"
                + "actions:\n"
                + "  - {name: flush, mbean: 'a:type=Cache,name=*', operation: clear,\n"
                + "     description: empties it, arguments: [{name: region, choices: [eu, us]},\n"
                + "     {name: age, type: double, min: 1, max: 9.5}]}\n"
                + "daemons:\n"
                + "  - {name: d, for: target, command: [/bin/d, '${pid}'], directory: /tmp,\n"
                + "     stdout: /o, stderr: /e, environment: {A: 1, B: null}}\n"
                + "notifications:\n"
                + "  - {table: ORDERS, mbean: 'shop:*', types: [order., refund]}\n");
    assertThat(config.notifications())
        .containsExactly(new NotificationRule("ORDERS", "shop:*", List.of("order.", "refund")));

    assertThat(config.maxTargets()).isEqualTo(3);
    assertThat(config.local().enabled()).isFalse();
    assertThat(config.local().intervalMillis()).isEqualTo(60_000);
    assertThat(config.local().include()).containsExactly("a.*", "b");
    assertThat(config.local().exclude()).containsExactly("*c");
    assertThat(config.calls()).isEqualTo(new JmxConfig.Calls(500, 200, 400, 10_000, 0));
    assertThat(config.remote())
        .containsExactly(
            new JmxConfig.Remote("one", null, "db1", 9010, "u", "p", List.of("db2", "192.0.2.7")),
            new JmxConfig.Remote(
                "two", "service:jmx:rmi:///jndi/rmi://h:1/jmxrmi", null, 0, null, null, List.of()));
    assertThat(config.actions())
        .containsExactly(
            new Operation(
                "flush",
                "a:type=Cache,name=*",
                "clear",
                List.of(
                    new Argument("region", ArgumentType.STRING, List.of("eu", "us"), null, null),
                    new Argument(
                        "age",
                        ArgumentType.DOUBLE,
                        List.of(),
                        new BigDecimal("1"),
                        new BigDecimal("9.5"))),
                "empties it"));
    Map<String, String> environment = new HashMap<>();
    environment.put("A", "1");
    environment.put("B", null);
    assertThat(config.daemons())
        .containsExactly(
            new DaemonRule(
                "d", List.of("/bin/d", "${pid}"), true, "/tmp", "/o", "/e", environment));
  }

  static Arguments[] mistakes() {
    return new Arguments[] {
      Arguments.of("local:\n  intervall: 5s\n",
          ":2:3: unknown key 'intervall' in local; did you mean 'interval'?"),
      Arguments.of("lokal: {}\n", ":1:1: unknown key 'lokal' in the file; did you mean 'local'?"),
      Arguments.of("local: 5\n", ":1:8: local must be a map"),
      Arguments.of("local:\n  enabled: maybe\n", ":2:12: 'enabled' must be true or false"),
      Arguments.of("local:\n  interval: 0s\n",
          ":2:13: 'interval' must be a duration from 1s to 1h with its unit (ms, s, m, h),"
              + " not '0s'"),
      Arguments.of("local:\n  interval: soon\n", "(ms, s, m, h), not 'soon'"),
      Arguments.of("local:\n  interval: [5s]\n", ":2:13: 'interval' must be a duration"),
      Arguments.of("local:\n  interval: 5\n", "not '5'; did you mean '5s' or '5m'?"),
      Arguments.of("calls: {timeout: 3000}\n", "not '3000'; did you mean '3000ms'?"),
      Arguments.of("max_targets: many\n",
          ":1:14: 'max_targets' must be a whole number from 1 to 10000, not 'many'"),
      Arguments.of("max_targets: 99999999999999999999\n", "from 1 to 10000, not '99999"),
      Arguments.of("local:\n  include: '*'\n", ":2:12: 'include' must be a list"),
      Arguments.of("local:\n  include: [[]]\n", "each element of 'include' must be text"),
      Arguments.of("local: {}\nlocal: {}\n", ":2:1: the key 'local' appears twice in the file"),
      Arguments.of("calls: {retry_min: 5s, retry_max: 1s}\n",
          "'retry_max' must be at least 'retry_min'"),
      Arguments.of("remote:\n  - {host: h, port: 1}\n", ":2:5: the key 'name' is missing"),
      Arguments.of("remote:\n  - {name: self, host: h, port: 1}\n", "the name 'self' is taken"),
      Arguments.of("remote:\n  - {name: a b, host: h, port: 1}\n", "'name' must be 1 to 32"),
      Arguments.of("remote:\n  - {name: a, host: h, port: 1}\n  - {name: a, host: i, port: 1}\n",
          ":3:12: the name 'a' is taken"),
      Arguments.of("remote:\n  - {name: a}\n", "either 'url' or 'host' and 'port'"),
      Arguments.of("remote:\n  - {name: a, host: h}\n", "'host' and 'port' go together"),
      Arguments.of("remote:\n  - {name: a, host: h, port: 70000}\n", "from 1 to 65535"),
      Arguments.of("remote:\n  - {name: a, host: h, port: 1, user: u}\n",
          "'user' and 'password_file' go together"),
      Arguments.of("remote:\n  - {name: a, url: 'http://h'}\n", ":2:20: 'url' is wrong"),
      Arguments.of("max_targets: 1\nremote:\n  - {name: a, host: h, port: 1}\n"
          + "  - {name: b, host: h, port: 2}\n", "more than max_targets (1)"),
      Arguments.of("actions:\n  - {mbean: 'a:b=c', operation: o}\n",
          ":2:5: the key 'name' is missing"),
      Arguments.of("actions:\n  - {name: gc, mbean: 'a:b=c', operation: o}\n",
          ":2:12: the name 'gc' is taken"),
      Arguments.of("actions:\n  - {name: a b, mbean: 'a:b=c', operation: o}\n",
          "action 'a b': expected 1 to 64 letters, digits"),
      Arguments.of("actions:\n  - {name: a, mbean: '*:b=c', operation: o}\n",
          "the domain of 'mbean' must be given without wildcards"),
      Arguments.of("actions:\n  - {name: a, mbean: nothing, operation: o}\n",
          "'mbean' must be an object name"),
      Arguments.of("actions:\n  - {name: a, mbean: 'a:b=c'}\n", "the key 'operation' is missing"),
      Arguments.of(ARGUMENT + "{name: x, type: float}\n",
          "'type' must be one of string, int, long, boolean, double"),
      Arguments.of(ARGUMENT + "{name: x, type: int, choices: [1, two]}\n",
          "'two' is not of the type int"),
      Arguments.of(ARGUMENT + "{name: x, min: 1}\n", "only a number has 'min' and 'max'"),
      Arguments.of(ARGUMENT + "{name: x, type: int, min: 2, max: 1}\n",
          "'max' must be at least 'min'"),
      Arguments.of(ARGUMENT + "{name: x, type: int, max: much}\n", "'max' must be a number"),
      Arguments.of(ARGUMENT + "{name: x, type: double, max: .inf}\n",
          "'max' must be a decimal number"),
      Arguments.of(ARGUMENT + "{name: x, type: int, min: 1.5}\n",
          ":6:31: 'min' must be a value of the type int"),
      Arguments.of(ARGUMENT + "{name: x, type: int, max: 2147483648}\n",
          "'max' must be a value of the type int"),
      Arguments.of(ARGUMENT + "{name: x, type: long, max: 1.0e+999999999}\n",
          "'max' must be a value of the type long"),
      Arguments.of(ARGUMENT + "{name: x, type: int, min: 1, max: 5, choices: [1, 6]}\n",
          ":6:51: '6' is not between 'min' and 'max'"),
      Arguments.of(ARGUMENT + "{name: x}\n  - {name: x}\n", ":7:12: the name 'x' is taken"),
      Arguments.of("daemons:\n- {name: d, for: agent}\n",
          ":2:3: 'command' must list a program and its arguments"),
      Arguments.of("daemons:\n- {name: d, command: [/bin/d]}\n", "the key 'for' is missing"),
      Arguments.of("daemons:\n- {name: d, for: me, command: [/bin/d]}\n",
          "'for' must be agent or target"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [d]}\n",
          "expected an absolute path"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d, 'a b']}\n",
          "contains white space"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d, '${pid}']}\n",
          ":2:34: '${pid}' has no meaning 'for: agent'"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], stdout: '/${pid}'}\n",
          ":2:52: '${pid}' has no meaning 'for: agent'"),
      Arguments.of("daemons:\n- {name: d, for: target, command: [/bin/d, '${PID}']}\n",
          ":2:35: '${PID}' has no meaning; there are ${pid} and ${subnode}"),
      Arguments.of(
          "daemons:\n- {name: d, for: target, command: [/bin/d], environment: {A: '${pid'}}\n",
          ":2:58: '${pid' has no meaning"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], directory: tmp}\n",
          ":2:55: the daemon can't be started: daemon directory 'tmp': expected an absolute path"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], stdout: o}\n",
          ":2:52: the daemon can't be started: daemon standard output 'o'"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], stderr: e}\n",
          ":2:52: the daemon can't be started: daemon standard error 'e'"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], environment: {A=: 1}}\n",
          ":2:57: the daemon can't be started: daemon environment: 'A='"),
      Arguments.of("daemons:\n- {name: d, for: agent, command: [/bin/d], environment: [A]}\n",
          ":2:57: 'environment' must be a map of names and values"),
      Arguments.of("notifications:\n- {table: JVM_X, mbean: 'a:b=c'}\n",
          ":2:11: 'JVM_' begins the names of the agent's own tables only"),
      Arguments.of("notifications:\n- {table: orders, mbean: 'a:b=c'}\n",
          "an upper-case letter first"),
      Arguments.of("notifications:\n- {table: ORDERS, mbean: '*:*'}\n",
          "the domain of 'mbean' must be given without wildcards"),
      Arguments.of("notifications:\n- {mbean: 'a:b=c'}\n", "the key 'table' is missing"),
      Arguments.of("local: [\n", "it is not valid YAML"),
      Arguments.of("a: b: c\n", ":1:5: it is not valid YAML"),
      Arguments.of("local: {\n  include: [\"\\U00110000\"]}\n", ":2:16: it is not valid YAML"),
      Arguments.of("%YAML 99999999999.1\n---\n{}\n", ":1:18: it is not valid YAML"),
      Arguments.of("local: \0\n", ":1:8: the character U+0000 is not allowed in the file"),
      Arguments.of("local:\n  include: [\"a\\0\"]\n",
          ":2:13: each element of 'include' must be text without U+0000"),
      Arguments.of("remote:\n- {name: a, host: h, port: 1, user: u, password_file: \"\\udc00\"}\n",
          ":2:55: 'password_file' must be text without"),
      Arguments.of("a: &a [[[[[[[[[[[[b]]]]]]]]]]]]\n", "it is not valid YAML: Nesting Depth"),
      Arguments.of("a: &a [b]\nc: [*a,*a,*a,*a,*a,*a,*a,*a,*a,*a,*a,*a]\n",
          ":2:38: it is not valid YAML: Number of aliases"),
      Arguments.of("!!javax.script.ScriptEngineManager []\n", ":1:1: the file must be a map"),
    };
  }

  @ParameterizedTest
  @MethodSource("mistakes")
  void saysWhereAMistakeIsAndWhatIsExpected(String text, String message) {
    assertThatThrownBy(() -> read(text))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("jmx.yaml:")
        .hasMessageContaining(message);
  }

  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "local: {intervalSeconds: 60}     | write 'interval: 1m' instead of 'intervalSeconds: 60'",
        "calls: {timeoutMillis: 3000}     | write 'timeout: 3s' instead of 'timeoutMillis: 3000'",
        "calls: {retryMinMillis: 500}     | write 'retry_min: 500ms' instead of",
        "calls: {retryMaxMillis: 30000}   | write 'retry_max: 30s' instead of",
        "calls: {heartbeatSeconds: 90}    | write 'heartbeat: 90s' instead of",
        "calls: {seldomSeconds: 0}        | write 'seldom: 0ms' instead of",
        "calls: {seldomSeconds: soon}     | write 'seldom' instead of 'seldomSeconds', and a"
            + " duration with its unit (ms, s, m, h)",
        "calls: {seldomSeconds: [1]}      | write 'seldom' instead of 'seldomSeconds', and",
        "maxTargets: 5                    | write 'max_targets' instead of 'maxTargets'.",
        "remote: [{passwordFile: x}]      | write 'password_file' instead of 'passwordFile'.",
      })
  void aKeyInItsFormerSpellingIsToldHowToWriteIt(String text, String advice) {
    assertThatThrownBy(() -> read(text + "\n"))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("; " + advice);
  }

  @Test
  void aByteThatIsNoUtf8HasAPlace() throws IOException {
    Path file = directory.resolve("jmx.yaml");
    Files.write(file, "local: {}\n# gr\u00fc\u00df".getBytes(StandardCharsets.ISO_8859_1));

    assertThatThrownBy(() -> ConfigFile.read(file))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("jmx.yaml:2:5: this byte is not valid UTF-8");
  }

  @Test
  void aMistakeIsToldInOneLineOfBoundedLength() {
    String key = "\"a\\n" + "b".repeat(100_000) + "\"";

    assertThatThrownBy(() -> read("local: {? " + key + " : 1}\n"))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining(":1:11: unknown key 'a?bbb")
        .hasMessageEndingWith("Known keys: enabled, interval, include, exclude")
        .satisfies(e -> assertThat(e.getMessage()).hasSizeLessThan(1000));
  }

  @Test
  void aHugeFileIsNotReadWhole() {
    assertThatThrownBy(() -> read("a".repeat(YamlText.MAX_BYTES + 1)))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("jmx.yaml:1:1: the file is larger than 2097152 bytes");
  }

  @Test
  void aFileThatCannotBeReadIsNamed() {
    assertThatThrownBy(() -> ConfigFile.read(directory.resolve("none.yaml")))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("none.yaml: the configuration file can't be read");
  }

  private JmxConfig read(String text) throws IOException, ConfigException {
    return ConfigFile.read(Files.writeString(directory.resolve("jmx.yaml"), text));
  }
}
