package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

class DaemonCommandTest {

  @ParameterizedTest
  @ValueSource(strings = {"", " ", "a b", "a\tb", "a\nb", "a\0", "\"a\"", "it's"})
  void refusesWordsThatTheLineCannotCarry(String word) {
    DaemonCommand.Builder builder = DaemonCommand.of("/bin/sh");

    assertThatIllegalArgumentException().isThrownBy(() -> builder.arg(word));
  }

  @ParameterizedTest
  @ValueSource(strings = {"", "sh", "./sh", "/opt/my programs/sh"})
  void refusesProgramsThatAreNoAbsolutePathWithoutBlanks(String program) {
    assertThatIllegalArgumentException().isThrownBy(() -> DaemonCommand.of(program));
  }

  @Test
  void takes255WordsAndNoMore() {
    DaemonCommand.Builder builder = DaemonCommand.of("/bin/sh");
    for (int i = 1; i < 255; i++) {
      builder.arg("word");
    }

    assertThat(builder.build().words()).hasSize(255);
    assertThatIllegalArgumentException()
        .isThrownBy(() -> builder.arg("word"))
        .withMessageContaining("255");
  }

  @ParameterizedTest
  @ValueSource(strings = {"", "A=B", "A\0"})
  void refusesNamesThatAreNoVariables(String name) {
    DaemonCommand.Builder builder = DaemonCommand.of("/bin/sh");

    assertThatIllegalArgumentException().isThrownBy(() -> builder.setEnv(name, "x"));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.unsetEnv(name));
  }

  @Test
  void refusesRelativePathsAndZeroCharacters() {
    DaemonCommand.Builder builder = DaemonCommand.of("/bin/sh");

    assertThatIllegalArgumentException().isThrownBy(() -> builder.directory("tmp"));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.stdout("/tmp/\0"));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.stderr(null));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.setEnv("A", "\0"));
  }
}
