package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.Arrays;
import java.util.Collections;
import java.util.List;
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
    "*a*b*c, xaybzc, true",
    "*a*b*c, xaybzcd, false",
    "*ab?ab, abcababcab, true",
    "**?**, '', false",
    "?, \ud83d\ude00, true",
    "[a].(b)+, [a].(b)+, true",
  })
  void aPatternMatchesWholeNames(String pattern, String name, boolean matches) {
    Patterns patterns =
        new Patterns(Collections.singletonList(pattern), Collections.emptyList());

    assertThat(patterns.accept(name)).isEqualTo(matches);
  }

  @Test
  void manyStarsTakeNoTime() {
    Patterns patterns = new Patterns(List.of("*a".repeat(50) + "*b"), List.of());

    assertThat(patterns.accept("a".repeat(1_000))).isFalse();
  }

  @Test
  void whatIsExcludedStaysOut() {
    Patterns patterns =
        new Patterns(Arrays.asList("com.*", "org.*"), Collections.singletonList("*Tool"));

    assertThat(patterns.accept("com.shop.Main")).isTrue();
    assertThat(patterns.accept("org.shop.Tool")).isFalse();
  }
}
