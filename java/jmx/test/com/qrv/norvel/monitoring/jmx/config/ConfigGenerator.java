package com.qrv.norvel.monitoring.jmx.config;

import java.io.ByteArrayOutputStream;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Random;

/** Makes up configuration files: good ones, nearly good ones, and bytes. */
final class ConfigGenerator {
  private static final String[] TEXTS = {
    "a", "orders", "self", "gc", "'a b'", "com.example", "'*'", "'*a*b*'",
    "'*a*a*a*a*a*a*a*a*a*a*b'", "db1", "\"\"", "''",
    "/tmp/x", "/bin/d", "'${pid}'", "'${subnode}'", "ORDERS", "JVM_X", "int", "string", "double",
    "agent", "target", "'x:type=Cache,name=*'", "'a:b=c'", "'*:b=c'", "'a:*'", "'a:b=\"c'", "'::'",
    "'a:b='", "'a:=b'", "'a:b=c,b=d'", "':a=b'", "'a:b=\\*'", "\"a:b=\\nc\"",
    "'service:jmx:rmi:///jndi/rmi://h:1/jmxrmi'", "'service:jmx:rmi://h/stub/abc'",
    "'service:jmx:rmi:///jndi/rmi://h:99999999999/x'", "'service:jmx:rmi:///jndi/rmi://[::1/x'",
    "'service:jmx:iiop://h/x'", "'service:jmx:rmi://:'", "'service:jmx:'", "service", "|\n a\n b",
    "\"\\0\"", "\"a\\0b\"", "\"\\ud800\"", "\"\\U00110000\"", "\"\\Uffffffff\"", "\"\\x4\"", "'\t'",
    "\u20ac", "\ud83d\ude00", "\u2028", "\u0085", "*unknown", "&b", "!x y", "!!str a", "@", "`",
    "%a", "- a", "? a", "a: b", "#", "null",
  };
  private static final String[] SCALARS = {
    "1", "0", "-1", "5", "100", "9010", "65536", "99999999999999999999", "0x10", "010", "1_000",
    "1:30", "1.5", ".inf", "-.INF", ".nan", "1e400", "1e5", "true", "no", "On", "~", "null", "''",
    "2001-01-01", "=", "<<", "!!int x", "!!float {}", "!!bool [a]", "!!null x", "!!binary ====",
    "!!java.net.URL ['http://h']", "!<%FF> a", "!<tag:yaml.org,2002:int> 1", "[]", "{}", "[[]]",
    "{a: b}", "[a, 1, null]", "{? [a] : b}", "5", "s", "1.5s", "-1s", "99999999999999999999h",
  };
  private static final String[] PIECES = {
    "\t", "\n", "\r", ":", " ", "  ", "- ", "? ", "{", "}", "[", "]", ",", "\"", "'", "|", ">",
    "&a ",
    "*a", "!", "%", "---\n", "...\n", "%YAML 1.1\n---\n", "%YAML 99999999999.9\n---\n",
    "%TAG ! x\n",
    "<<: *a\n", "\0", "\u0007", "\u007f", "\ufeff", "\ufffe", "\u0085", "#", "local:", "remote:\n",
    "!<%C3%28> ", "!<%> ", "\\",
  };
  private static final String[] KEYS = {
    "local", "remote", "calls", "max_targets", "actions", "daemons", "notifications", "name", "url",
    "host", "port", "enabled", "include", "mbean", "operation", "arguments", "type", "lokal", "42",
    "~", "''", "? ", "[a]", "{a: b}", "!!str name", "<<", "timeoutMillis", "passwordFile",
  };

  private final Random random;

  ConfigGenerator(long seed) {
    this.random = new Random(seed);
  }

  /** The content of one file. */
  byte[] next() {
    int kind = random.nextInt(20);
    if (kind == 0) {
      return bytes(random.nextInt(300));
    }
    if (kind == 1) {
      return utf8(extreme());
    }
    byte[] content = utf8(file());
    int damages = kind < 8 ? 1 + random.nextInt(4) : 0;
    for (int i = 0; i < damages; i++) {
      content = damaged(content);
    }
    return content;
  }

  /** Sections with values that are mostly of the right kind. */
  private String file() {
    StringBuilder text = new StringBuilder();
    List<String> sections =
        new ArrayList<>(
            List.of(
                "local: " + map("enabled", bool(), "interval", duration(), "include", texts(),
                    "exclude", texts()),
                "calls: " + map("timeout", duration(), "retry_min", duration(),
                    "retry_max", duration(), "heartbeat", duration(), "seldom", duration()),
                "max_targets: " + number(),
                "remote:" + elements(this::remote),
                "actions:" + elements(this::action),
                "daemons:" + elements(this::daemon),
                "notifications:" + elements(this::notification)));
    Collections.shuffle(sections, random);
    for (String section : sections.subList(0, random.nextInt(sections.size() + 1))) {
      text.append(section).append('\n');
    }
    if (oneIn(20)) {
      text.append(pick(KEYS)).append(": ").append(value("a")).append('\n');
    }
    return text.toString();
  }

  private String remote() {
    String address =
        oneIn(2)
            ? "url: " + value("'service:jmx:rmi:///jndi/rmi://h:1/jmxrmi'")
            : "host: " + value("db1") + ", port: " + number();
    String user = oneIn(3) ? ", user: " + value("u") + ", password_file: " + value("p") : "";
    return "{name: " + value("n" + random.nextInt(50)) + ", " + address + user + extra() + '}';
  }

  private String action() {
    return "{name: " + value("w" + random.nextInt(50)) + ", mbean: " + value("'a:b=c'")
        + ", operation: " + value("o") + ", arguments: [" + (oneIn(2) ? "" : argument()) + ']'
        + extra() + '}';
  }

  private String argument() {
    return "{name: " + value("x") + ", type: " + value("int") + ", min: " + number() + ", max: "
        + number() + (oneIn(2) ? "" : ", choices: " + texts()) + '}';
  }

  private String daemon() {
    return "{name: " + value("d" + random.nextInt(50)) + ", for: " + value("target")
        + ", command: [" + value("/bin/d") + ", " + value("x") + "], stdout: " + value("/o")
        + ", environment: {A: " + value("1") + ", B: null}" + extra() + '}';
  }

  private String notification() {
    return "{table: " + value("T" + random.nextInt(50)) + ", mbean: " + value("'a:*'") + ", types: "
        + texts() + extra() + '}';
  }

  /** Files that are small and want to become large, deep or endless. */
  private String extreme() {
    int size = 1 << random.nextInt(18);
    return switch (random.nextInt(9)) {
      case 0 -> bomb();
      case 1 -> "remote: &a [*a, *a]\nlocal: *a\n";
      case 2 -> "? &a {? *a : *a}\n: b\n";
      case 3 -> "[".repeat(size);
      case 4 -> "local: " + "{a: ".repeat(size) + "}".repeat(size);
      case 5 -> "- ".repeat(size);
      case 6 -> "? ".repeat(size);
      case 7 -> oneIn(2) ? "a".repeat(size * 8) + ": 1\n" : "local: {" + "a".repeat(size) + ": 1}";
      default -> "actions:\n- {name: a, mbean: 'a:b=" + "c".repeat(size) + "*', operation: '"
          + "\u20ac".repeat(size) + "'}\n";
    };
  }

  /** Each level names the one before several times. */
  private String bomb() {
    StringBuilder text = new StringBuilder("local: &l0 [a]\n");
    for (int level = 1; level < 30; level++) {
      String before = "*l" + (level - 1);
      text.append(oneIn(2) ? "x" : "remote").append(level).append(": &l").append(level)
          .append(" [").append(before).append(", ").append(before).append("]\n");
    }
    return text.toString();
  }

  private byte[] damaged(byte[] content) {
    int at = random.nextInt(content.length + 1);
    int end = at + random.nextInt(Math.min(40, content.length - at + 1));
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    out.write(content, 0, at);
    switch (random.nextInt(5)) {
      case 0 -> out.writeBytes(utf8(pick(PIECES)));
      case 1 -> out.writeBytes(bytes(1 + random.nextInt(3)));
      case 2 -> out.write(content, at, end - at); // appears twice
      case 3 -> at = end; // is left out
      default -> {
        return out.toByteArray(); // is cut off
      }
    }
    out.write(content, at, content.length - at);
    return out.toByteArray();
  }

  private String elements(java.util.function.Supplier<String> element) {
    StringBuilder text = new StringBuilder(oneIn(20) ? " {}" : "");
    for (int i = random.nextInt(4); i > 0; i--) {
      text.append("\n- ").append(element.get());
    }
    return text.length() == 0 ? " []" : text.toString();
  }

  private String map(String... keysAndValues) {
    StringBuilder text = new StringBuilder("{");
    for (int i = 0; i < keysAndValues.length; i += 2) {
      if (!oneIn(3)) {
        text.append(keysAndValues[i]).append(": ").append(keysAndValues[i + 1]).append(", ");
      }
    }
    return text.append('}').toString();
  }

  private String extra() {
    return oneIn(20) ? ", " + pick(KEYS) + ": " + value("x") : "";
  }

  private String value(String good) {
    return oneIn(12) ? pick(oneIn(3) ? SCALARS : TEXTS) : good;
  }

  private String bool() {
    return oneIn(8) ? pick(SCALARS) : oneIn(2) ? "true" : "false";
  }

  private String number() {
    return oneIn(12) ? pick(SCALARS) : String.valueOf(100 + random.nextInt(900));
  }

  /** Mostly one that every key takes. */
  private String duration() {
    String[] units = {"00ms", "s", "s", "m", "", "h"};
    return oneIn(12)
        ? pick(SCALARS)
        : 1 + random.nextInt(59) + units[Math.min(random.nextInt(60) / 10, random.nextInt(40))];
  }

  private String texts() {
    return oneIn(12) ? pick(SCALARS) : "[" + value("a") + ", " + value("7") + "]";
  }

  private boolean oneIn(int count) {
    return random.nextInt(count) == 0;
  }

  private String pick(String[] from) {
    return from[random.nextInt(from.length)];
  }

  private byte[] bytes(int count) {
    byte[] bytes = new byte[count];
    random.nextBytes(bytes);
    return bytes;
  }

  private static byte[] utf8(String text) {
    return text.getBytes(StandardCharsets.UTF_8);
  }
}
