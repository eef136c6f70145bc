package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

class SubnodeTest {

  @ParameterizedTest
  @ValueSource(
      strings = {"a", "tomcat 1:earth", "ääääääääääääääää", "abcdefghijklmnopqrstuvwxyz123456"})
  void takesNamesOfUpTo32Bytes(String name) {
    assertThat(Subnode.named(name).name()).isEqualTo(name);
  }

  @ParameterizedTest
  @ValueSource(
      strings = {
        "",
        " a",
        "a ",
        "a\tb",
        "a\0b",
        "ääääääääääääääääa",
        "abcdefghijklmnopqrstuvwxyz1234567",
        "\uD83D\uDE00"
      })
  void refusesNamesThatWouldNotComeBackAsTheyWent(String name) {
    assertThatIllegalArgumentException().isThrownBy(() -> Subnode.named(name));
  }

  @Test
  void refusesMissingTexts() {
    assertThatIllegalArgumentException().isThrownBy(() -> new Subnode("a", null, "", ""));
    assertThatIllegalArgumentException().isThrownBy(() -> Subnode.named(null));
  }
}
