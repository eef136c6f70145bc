package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class WebRequestTest {
  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "de|de",
        "fr|en",
        "fr, de|de",
        "en;q=0.5, de;q=0.9|de",
        "de;q=0.5, en|en",
        "de-CH|de",
        "pt|pt-BR",
        "PT-br|pt-BR",
        "*|en",
        "fr, *;q=0.1|en",
        "de;q=0|en",
        "de;q=nonsense|en",
        "de;q=7|en",
        "d|en",
        "'',,;|en",
      })
  void choosesTheLanguageThatTheBrowserLikesBest(String accepted, String chosen) {
    WebRequest request = new WebRequest("/", "/", "", accepted);

    assertThat(request.language(List.of("en", "de", "pt-BR"))).isEqualTo(chosen);
  }

  @Test
  void takesTheFirstLanguageWhenTheBrowserSaysNothing() {
    assertThat(new WebRequest("/", "/", "", "").language(List.of("en", "de"))).isEqualTo("en");
    assertThatIllegalArgumentException()
        .isThrownBy(() -> new WebRequest("/", "/", "", "de").language(List.of()));
  }

  @ParameterizedTest
  @CsvSource({"/, /a/b, /a/b", "/a, /a/b, /b", "/a, /a, ''"})
  void tellsWhatFollowsThePrefix(String prefix, String path, String below) {
    assertThat(new WebRequest(prefix, path, "", "").pathBelow()).isEqualTo(below);
  }
}
