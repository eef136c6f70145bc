package com.qrv.norvel.monitoring.jmx.action;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import java.math.BigDecimal;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

final class ArgumentTest {
  @Test
  void aBoundOfGreatNumbersIsKeptToTheLastDigit() {
    Argument id = bounded(ArgumentType.LONG, "1", "9007199254740992");

    assertThat(id.valueOf("9007199254740992")).isEqualTo(9007199254740992L);
    assertThatIllegalArgumentException()
        .isThrownBy(() -> id.valueOf("9007199254740993"))
        .withMessage("expected 1 to 9007199254740992, not '9007199254740993'");
  }

  @Test
  void aFractionIsWithinTheBoundThatItIsWrittenAs() {
    Argument part = bounded(ArgumentType.DOUBLE, "0.1", "0.30");

    assertThat(part.valueOf("0.1")).isEqualTo(0.1);
    assertThat(part.valueOf("3e-1")).isEqualTo(0.3);
    assertThatIllegalArgumentException()
        .isThrownBy(() -> part.valueOf("0.31"))
        .withMessage("expected 0.1 to 0.3, not '0.31'");
  }

  @ParameterizedTest
  @ValueSource(strings = {"10d", "1f", "0x1p3", " 1 ", "NaN", "Infinity", "1e999", ""})
  void aDoubleIsAFiniteDecimalNumber(String word) {
    assertThat(ArgumentType.DOUBLE.parse(word)).isNull();
  }

  private static Argument bounded(ArgumentType type, String min, String max) {
    return new Argument("x", type, List.of(), new BigDecimal(min), new BigDecimal(max));
  }
}
