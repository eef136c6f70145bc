package com.qrv.norvel.monitoring.jmx.action;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.List;
import java.util.Map;
import javax.management.openmbean.CompositeDataSupport;
import javax.management.openmbean.CompositeType;
import javax.management.openmbean.OpenType;
import javax.management.openmbean.SimpleType;
import org.junit.jupiter.api.Test;

final class ResultTextTest {
  @Test
  void nothingIsToldAsDone() {
    assertThat(ResultText.of(null)).isEqualTo("done");
  }

  @Test
  void structuresAreWrittenOut() throws Exception {
    CompositeType type =
        new CompositeType(
            "Usage",
            "usage",
            new String[] {"max", "used"},
            new String[] {"m", "u"},
            new OpenType<?>[] {SimpleType.LONG, SimpleType.LONG});
    Object usage = new CompositeDataSupport(type, Map.of("used", 5L, "max", 9L));

    assertThat(ResultText.of(new Object[] {usage, List.of("a", "b"), List.of()}))
        .isEqualTo("[{max=9, used=5}, [a, b], []]");
  }

  @Test
  void arraysOfNumbersAreWrittenOut() {
    assertThat(ResultText.of(new long[] {7, 12})).isEqualTo("[7, 12]");
    assertThat(ResultText.of(new Object[] {new int[0], new boolean[] {true}, null}))
        .isEqualTo("[[], [true], null]");
  }

  @Test
  void aStructureThatHoldsItselfEnds() {
    Object[] loop = new Object[1];
    loop[0] = loop;

    assertThat(ResultText.of(loop)).isEqualTo("[[[[[[...]]]]]]");
  }

  @Test
  void controlCharactersButLineEndsBecomeBlanks() {
    assertThat(ResultText.of("a\u0000b\u001bc\nd")).isEqualTo("a b c\nd");
  }

  @Test
  void aHugeResultIsCut() {
    assertThat(ResultText.of("x".repeat(1_000_000)).length()).isLessThanOrEqualTo(8192);
    assertThat(ResultText.of(new long[1_000_000]).length()).isLessThan(8200);
  }
}
