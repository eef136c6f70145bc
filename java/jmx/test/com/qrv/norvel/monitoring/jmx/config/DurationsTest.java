package com.qrv.norvel.monitoring.jmx.config;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;

final class DurationsTest {
  /** The cases that the agent's own configuration is tested with. */
  private static final Path CASES =
      Path.of(System.getProperty("zel.docs"), "../tests/framework/config/quantities.txt");

  record Case(String text, long millis) {}

  static List<Case> cases() throws IOException {
    List<Case> cases = new ArrayList<>();
    for (String line : Files.readAllLines(CASES)) {
      String[] parts = line.split("\\|", -1);
      if (parts[0].equals("duration")) {
        cases.add(
            new Case(parts[1], parts[2].isEmpty() ? Durations.NONE : Long.parseLong(parts[2])));
      }
    }
    return cases;
  }

  @ParameterizedTest
  @MethodSource("cases")
  void understandsWhatTheConfigurationOfTheAgentDoes(Case each) {
    assertThat(Durations.parse(each.text())).isEqualTo(each.millis());
  }

  @Test
  void onlyTheDigitsOfAsciiAreDigits() {
    assertThat(Durations.parse("\u0665s")).isEqualTo(Durations.NONE);
  }

  @ParameterizedTest
  @CsvSource({"0, 0ms", "1500, 1500ms", "90000, 90s", "300000, 5m", "7200000, 2h"})
  void showsTheLargestWholeUnit(long millis, String text) {
    assertThat(Durations.format(millis)).isEqualTo(text);
  }
}
