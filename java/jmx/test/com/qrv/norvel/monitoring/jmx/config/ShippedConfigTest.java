package com.qrv.norvel.monitoring.jmx.config;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The file that ships tells the truth about the defaults. */
final class ShippedConfigTest {
  @TempDir private Path directory;

  private final Path shipped =
      Path.of(System.getProperty("zel.docs"), "..", "config", "jmx", "jmx.yaml");

  @Test
  void changesNothingAsItIs() throws ConfigException {
    assertThat(ConfigFile.read(shipped)).isEqualTo(JmxConfig.defaults());
  }

  @Test
  void showsTheDefaultsAndValidExamplesInItsComments() throws Exception {
    JmxConfig config = ConfigFile.read(withoutCommentMarks());

    JmxConfig defaults = JmxConfig.defaults();
    assertThat(config.local()).isEqualTo(defaults.local());
    assertThat(config.calls()).isEqualTo(defaults.calls());
    assertThat(config.maxTargets()).isEqualTo(defaults.maxTargets());
    assertThat(config.remote()).hasSize(2);
  }

  /** Keys follow the mark at once, or after two blanks and more; sentences after one blank. */
  private Path withoutCommentMarks() throws IOException {
    StringBuilder text = new StringBuilder();
    for (String line : Files.readAllLines(shipped)) {
      boolean isExample = line.startsWith("#") && !line.startsWith("# ");
      if (isExample || line.startsWith("#  ")) {
        text.append(line.substring(1)).append('\n');
      }
    }
    return Files.writeString(directory.resolve("jmx.yaml"), text);
  }
}
