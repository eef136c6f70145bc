package com.qrv.norvel.monitoring.jmx.table;

import static org.assertj.core.api.Assertions.assertThat;

import java.math.BigDecimal;
import java.math.BigInteger;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.concurrent.atomic.AtomicLong;
import javax.management.openmbean.CompositeDataSupport;
import javax.management.openmbean.CompositeType;
import javax.management.openmbean.OpenType;
import javax.management.openmbean.SimpleType;
import org.junit.jupiter.api.Test;

final class PlainValueTest {
  private static final BigInteger LONG_NUMBER = BigInteger.ONE.shiftLeft(1_000_000);

  private final BeanTable table =
      BeanTable.of("T", "b")
          .text("TEXT", 16, "A")
          .int64("NUMBER", "A")
          .milli("MILLI", "A")
          .int64("ITEM", "A", "used")
          .build();

  private Object text(Object value) {
    return table.column(0).cell(value);
  }

  private Object number(Object value) {
    return table.column(1).cell(value);
  }

  private Object milli(Object value) {
    return table.column(2).cell(value);
  }

  @Test
  void textsNumbersBooleansAndCharactersAreTexts() {
    assertThat(text("x")).isEqualTo("x");
    assertThat(text(true)).isEqualTo("true");
    assertThat(text('c')).isEqualTo("c");
    assertThat(text(1.5)).isEqualTo("1.5");
    assertThat(text(new AtomicLong(7))).isEqualTo("7");
    assertThat(text(new BigDecimal("12.50"))).isEqualTo("12.50");
  }

  @Test
  void nothingElseIsAskedForItsText() {
    Object[] values = {
      new Object() {
        @Override
        public String toString() {
          throw new AssertionError("asked");
        }
      },
      nestedLists(60),
      new String[] {"a"},
      LONG_NUMBER,
      new BigDecimal(LONG_NUMBER)
    };
    for (Object value : values) {
      assertThat(((Unavailable) text(value)).isFault()).isTrue();
      assertThat(KeptValue.of(value)).isInstanceOf(Unavailable.class);
    }
  }

  /** Doubles what it shows at each level. */
  private static Object nestedLists(int levels) {
    List<Object> lists = new ArrayList<>();
    for (int level = 0; level < levels; level++) {
      lists = new ArrayList<>(Arrays.asList(lists, lists));
    }
    return lists;
  }

  @Test
  void whatIsNoFiniteNumberIsNotKnown() {
    for (Object value :
        new Object[] {
          Double.NaN, Double.POSITIVE_INFINITY, Double.NEGATIVE_INFINITY, Float.POSITIVE_INFINITY
        }) {
      assertThat(number(value)).isSameAs(Unavailable.NOTHING);
      assertThat(milli(value)).isSameAs(Unavailable.NOTHING);
    }
  }

  @Test
  void aNumberThatDoesNotFitIsNoGreatestOne() {
    assertThat(number((double) Long.MIN_VALUE / 2)).isEqualTo(Long.MIN_VALUE / 2);
    assertThat(number(BigInteger.valueOf(Long.MAX_VALUE))).isEqualTo(Long.MAX_VALUE);
    assertThat(number(new BigDecimal("-12.99"))).isEqualTo(-12L);
    assertThat(number(new BigDecimal("1e-2000000000"))).isEqualTo(0L);
    for (Object value :
        new Object[] {
          1e19, 1e300, BigInteger.TWO.pow(63), new BigDecimal("1e2000000000"), LONG_NUMBER
        }) {
      assertThat(((Unavailable) number(value)).isFault()).as("%s", value.getClass()).isTrue();
    }
    assertThat(((Unavailable) milli(1e300)).isFault()).isTrue();
    assertThat(milli(new BigDecimal("0.25"))).isEqualTo(250L);
    assertThat(milli(new BigDecimal("1e-2000000000"))).isEqualTo(0L);
    assertThat(milli(new BigDecimal("1e2000000000"))).isSameAs(Unavailable.NOTHING);
  }

  @Test
  void ofACompositeValueTheNumbersAreKept() throws Exception {
    CompositeType type =
        new CompositeType(
            "Usage",
            "usage",
            new String[] {"text", "unknown", "used"},
            new String[] {"t", "u", "u"},
            new OpenType<?>[] {SimpleType.STRING, SimpleType.LONG, SimpleType.LONG});
    java.util.Map<String, Object> items = new java.util.HashMap<>();
    items.put("text", "x".repeat(1000));
    items.put("unknown", null);
    items.put("used", 5L);

    Object kept = KeptValue.of(new CompositeDataSupport(type, items));

    assertThat(table.column(3).cell(kept)).isEqualTo(5L);
    assertThat((Map<?, ?>) kept).hasSize(2);
  }

  @Test
  void ofATextItsBeginningIsKept() {
    assertThat((String) KeptValue.of("x".repeat(1_000_000))).hasSize(KeptValue.MAX_TEXT);
    assertThat(KeptValue.of(null)).isSameAs(Unavailable.NOTHING);
  }
}
