package com.qrv.norvel.monitoring.fault;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

class OptionsTest {
  private static Options parse(String line) throws UsageException {
    return Options.parse(line.isEmpty() ? List.of() : Arrays.asList(line.split(" ")));
  }

  @Test
  void withoutArgumentsItIsWellAndHasNoPort() throws UsageException {
    Options options = parse("");

    assertThat(options.port()).isEqualTo(Options.NO_PORT);
    assertThat(options.settings()).isEmpty();
    assertThat(options.help()).isFalse();
  }

  @ParameterizedTest
  @ValueSource(strings = {"--port 9010 slow=5 throw", "slow=5 --port=9010 throw"})
  void portAndModesComeInAnyOrder(String line) throws UsageException {
    Options options = parse(line);

    assertThat(options.port()).isEqualTo(9010);
    assertThat(options.settings())
        .containsExactly(new Setting(Mode.SLOW, 5), new Setting(Mode.THROW, 1));
  }

  @Test
  void theLastOfSeveralCounts() throws UsageException {
    Options options = parse("--port 1 slow=5 slow=7 --port=2 hang hang=off");

    assertThat(options.port()).isEqualTo(2);
    assertThat(options.value(Mode.SLOW)).isEqualTo(7);
    assertThat(options.value(Mode.HANG)).isEqualTo(Setting.OFF);
    assertThat(options.value(Mode.GC)).isEqualTo(Setting.OFF);
  }

  @ParameterizedTest
  @CsvSource({
    "--port, --port needs a number from 0 to 65535",
    "--port x, '--port takes a number from 0 to 65535, not x'",
    "--port=65536, '--port takes a number from 0 to 65535, not 65536'",
    "--port -1, '--port takes a number from 0 to 65535, not -1'",
    "--prot 1, there is no option '--prot'; see --help",
    "drop=0, 'drop closes connections to the JMX port: give --port, too'",
  })
  void aMistakeIsNamed(String line, String message) {
    assertThatThrownBy(() -> parse(line)).isInstanceOf(UsageException.class).hasMessage(message);
  }

  @Test
  void theUsageTellsEachMode() throws UsageException {
    assertThat(parse("--help").help()).isTrue();
    for (Mode mode : Mode.values()) {
      assertThat(Options.usage()).contains("  " + mode.usage() + " ").contains(mode.does());
    }
  }
}
