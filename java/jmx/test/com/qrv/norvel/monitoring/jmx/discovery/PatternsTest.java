package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.Arrays;
import java.util.Collections;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class PatternsTest {
  @ParameterizedTest
  @CsvSource({
    "*, any.Thing, true",
    "*, '', true",
    "com.shop.*, com.shop.Main, true",
    "com.shop.*, org.com.shop.Main, false",
    "com.shop.Main, com.shop.Main2, false",
    "com.shop.Main?, com.shop.Main2, true",
    "com.shop.Main, comxshopxMain, false",
    "*$Main, a.B$Main, true",
  })
  void aPatternMatchesWholeNames(String pattern, String name, boolean matches) {
    Patterns patterns =
        new Patterns(Collections.singletonList(pattern), Collections.emptyList());

    assertThat(patterns.accept(name)).isEqualTo(matches);
  }

  @Test
  void whatIsExcludedStaysOut() {
    Patterns patterns =
        new Patterns(Arrays.asList("com.*", "org.*"), Collections.singletonList("*Tool"));

    assertThat(patterns.accept("com.shop.Main")).isTrue();
    assertThat(patterns.accept("org.shop.Tool")).isFalse();
  }
}
