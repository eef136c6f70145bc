package com.qrv.norvel.monitoring.jmx.action;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.Collections;
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
  void arraysOfNumbersAndMapsOfThemAreWrittenOut() {
    assertThat(ResultText.of(new long[] {3, 17})).isEqualTo("[3, 17]");
    assertThat(ResultText.of(new boolean[0])).isEqualTo("[]");
    assertThat(ResultText.of(new Object[] {null, new int[][] {{1}, {2, 3}}}))
        .isEqualTo("[null, [[1], [2, 3]]]");
    assertThat(ResultText.of(Map.of("ids", new long[] {4}))).isEqualTo("[ids=[4]]");
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
    assertThat(ResultText.of(Collections.nCopies(100_000, "abc")).length()).isLessThan(8300);
    assertThat(ResultText.of(new int[100_000]).length()).isLessThan(8300);
  }
}
