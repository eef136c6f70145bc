package com.qrv.norvel.monitoring.jmx.config;

import static org.assertj.core.api.Assertions.assertThat;
import static org.junit.jupiter.api.Assertions.assertTimeoutPreemptively;

import com.qrv.norvel.monitoring.jmx.action.Operation;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import com.qrv.norvel.monitoring.jmx.discovery.Patterns;
import com.qrv.norvel.monitoring.jmx.link.RemoteAddress;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.time.Duration;
import java.util.regex.Pattern;
import javax.management.ObjectName;
import org.junit.jupiter.api.Test;

/**
 * Whatever a file holds, it gives a configuration that can be used, or a mistake with its place.
 *
 * <p>The environment variables {@code ZEL_SEED} and {@code ZEL_CASES} ask for other files, or more.
 */
final class GeneratedConfigTest {
  /** What a hanging parser passes, and a slow machine does not. */
  private static final Duration BOUND = Duration.ofSeconds(60);

  private static final Pattern MISTAKE = Pattern.compile("jmx\\.yaml:\\d+:\\d+: [^\\p{Cntrl}]+");
  private static final int LONGEST = 1000;

  private final long firstSeed = number("ZEL_SEED", 1);
  private final long cases = number("ZEL_CASES", 3_000);

  @Test
  void everyFileIsUnderstoodOrRefusedWithItsPlace() {
    int understood = 0;
    for (long seed = firstSeed; seed < firstSeed + cases; seed++) {
      byte[] content = new ConfigGenerator(seed).next();
      try {
        understood += assertTimeoutPreemptively(BOUND, () -> isUnderstood(content)) ? 1 : 0;
      } catch (Throwable e) {
        throw new AssertionError("ZEL_SEED=" + seed + " ZEL_CASES=1: " + shown(content), e);
      }
    }
    // Otherwise the generator has lost its way.
    assertThat((double) understood / cases).isBetween(0.05, 0.95);
  }

  private static boolean isUnderstood(byte[] content) throws Exception {
    JmxConfig config;
    try {
      config = ConfigFile.parse("jmx.yaml", content);
    } catch (ConfigException e) {
      assertThat(e.getMessage()).matches(MISTAKE).hasSizeLessThanOrEqualTo(LONGEST);
      return false;
    }
    use(config);
    return true;
  }

  /** Does with a configuration what the application does. */
  private static void use(JmxConfig config) throws Exception {
    new Patterns(config.local().include(), config.local().exclude()).accept("a".repeat(200));
    for (JmxConfig.Remote remote : config.remote()) {
      if (remote.passwordFile() != null) {
        assertThat(Path.of(remote.passwordFile())).isNotNull();
      }
      if (remote.url() != null) {
        assertThat(RemoteAddress.parse(remote.url())).isNotNull();
      }
    }
    for (Operation action : config.actions()) {
      assertThat(new ObjectName(action.bean()).isDomainPattern()).isFalse();
    }
    for (DaemonRule daemon : config.daemons()) {
      assertThat(daemon.command("1", "a")).isNotNull();
    }
    for (NotificationRule rule : config.notifications()) {
      assertThat(new ObjectName(rule.beans()).isDomainPattern()).isFalse();
    }
  }

  private static String shown(byte[] content) {
    String text = new String(content, StandardCharsets.ISO_8859_1);
    return text.length() <= 2000 ? text : text.substring(0, 2000) + "...";
  }

  private static long number(String variable, long otherwise) {
    String text = System.getenv(variable);
    return text == null ? otherwise : Long.parseLong(text);
  }
}
