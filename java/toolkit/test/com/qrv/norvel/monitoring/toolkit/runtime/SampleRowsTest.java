package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatExceptionOfType;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class SampleRowsTest {
  private static final Column NUMBER = Columns.int32("NUMBER");
  private static final Column TEXT = Columns.utf8("TEXT", 4);

  private final RecordingSink trace = new RecordingSink();

  @Test
  void startsEachRowWithNothingAvailable() throws Exception {
    SampleRows rows =
        rows(
            TableDefinition.builder("T")
                .column(Columns.int16("A"))
                .column(Columns.int32("B"))
                .column(Columns.int64("C"))
                .column(Columns.characters("D", 2))
                .column(Columns.utf8("E", 2)));

    rows.row();

    ByteBuffer row = only(rows);
    assertThat(row.getShort(0)).isEqualTo(Short.MIN_VALUE);
    assertThat(row.getInt(2)).isEqualTo(Integer.MIN_VALUE);
    assertThat(row.getLong(6)).isEqualTo(Long.MIN_VALUE);
    assertThat(new String(row.array(), 14, 4, StandardCharsets.US_ASCII)).isEqualTo("  \0\0");
  }

  @Test
  void writesCellsByColumnAndByIndex() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER).column(TEXT));

    rows.row().set(NUMBER, 7).set(TEXT, "abcdefg");
    rows.row().set(0, -7).set(1, "x");

    assertThat(rows.finish()).hasSize(2);
    assertThat(row(rows, 0).getInt(0)).isEqualTo(7);
    assertThat(text(row(rows, 0), 4, 4)).isEqualTo("abcd");
    assertThat(row(rows, 1).getInt(0)).isEqualTo(-7);
    assertThat(text(row(rows, 1), 4, 4)).isEqualTo("x\0\0\0");
    assertThat(trace.messages()).isEmpty();
  }

  @Test
  void makesCellsUnavailableAgain() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER).column(TEXT));

    rows.row().set(0, 7).set(1, "abcd").unavailable(NUMBER).set(TEXT, null);

    assertThat(only(rows).getInt(0)).isEqualTo(Integer.MIN_VALUE);
    assertThat(text(only(rows), 4, 4)).isEqualTo("\0\0\0\0");
    assertThat(trace.messages()).isEmpty();
  }

  @ParameterizedTest
  @CsvSource({
    "0, 32767, true",
    "0, -32767, true",
    "0, 32768, false",
    "0, -32768, false",
    "1, 2147483647, true",
    "1, 2147483648, false",
    "1, -2147483648, false",
    "2, 9223372036854775807, true",
    "2, -9223372036854775808, false"
  })
  void costsOnlyTheCellWhenAnIntegerIsOutOfRange(int index, long value, boolean good)
      throws Exception {
    SampleRows rows =
        rows(
            TableDefinition.builder("T")
                .column(Columns.int16("A"))
                .column(Columns.int32("B"))
                .column(Columns.int64("C")));

    rows.row().set(0, 1).set(1, 2).set(2, 3).set(index, value);

    ByteBuffer row = only(rows);
    long[] cells = {row.getShort(0), row.getInt(2), row.getLong(6)};
    long[] missing = {Short.MIN_VALUE, Integer.MIN_VALUE, Long.MIN_VALUE};
    for (int i = 0; i < cells.length; i++) {
      assertThat(cells[i]).isEqualTo(i != index ? i + 1 : good ? value : missing[i]);
    }
    if (good) {
      assertThat(trace.messages()).isEmpty();
    } else {
      assertThat(trace.messages()).hasSize(1);
      assertThat(trace.messages().get(0))
          .startsWith("WARN: table T, column " + "ABC".charAt(index) + ": value " + value);
    }
  }

  @Test
  void costsOnlyTheCellWhenTheKindIsWrong() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER).column(TEXT));

    rows.row().set(NUMBER, "seven").set(TEXT, 7);

    assertThat(only(rows).getInt(0)).isEqualTo(Integer.MIN_VALUE);
    assertThat(text(only(rows), 4, 4)).isEqualTo("\0\0\0\0");
    assertThat(trace.messages())
        .containsExactly(
            "WARN: table T, column NUMBER: value 'seven' is not a number; the cell is not"
                + " available",
            "WARN: table T, column TEXT: value 7 is not text; the cell is not available");
  }

  @Test
  void logsTheFirstBadValueOfAColumnAndTheNumberOfTheOthers() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(Columns.int16("A")));
    for (int i = 0; i < 5; i++) {
      rows.row().set(0, 40000 + i);
    }

    assertThat(rows.finish()).hasSize(5);

    assertThat(trace.messages())
        .containsExactly(
            "WARN: table T, column A: value 40000 is not in -32767 to 32767;"
                + " the cell is not available",
            "WARN: table T, column A: 4 more bad values in this sample");
  }

  @Test
  void fillsTheSubnodeOfEachRow() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").perSubnode().column(NUMBER), "earth");

    rows.row().set(NUMBER, 1);
    rows.row("earth").set(NUMBER, 2);

    assertThat(text(row(rows, 0), 0, 32)).isEqualTo("earth" + " ".repeat(27));
    assertThat(text(row(rows, 1), 0, 32)).isEqualTo("earth" + " ".repeat(27));
  }

  @Test
  void asksForTheSubnodeOfARowWhenThereAreSeveral() throws Exception {
    SampleRows rows =
        rows(TableDefinition.builder("T").perSubnode().column(NUMBER), "earth", "mars");

    rows.row("mars").set(NUMBER, 1);

    assertThat(text(only(rows), 0, 5)).isEqualTo("mars ");
    assertThatIllegalStateException().isThrownBy(rows::row);
    assertThatIllegalArgumentException().isThrownBy(() -> rows.row("venus"));
  }

  @Test
  void keepsTheSubnodesColumnToItself() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").perSubnode().column(NUMBER), "earth");

    assertThatIllegalArgumentException().isThrownBy(() -> rows.row().set(0, "mars"));
  }

  @Test
  void refusesColumnsThatTheTableLacks() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER));

    assertThatIllegalArgumentException()
        .isThrownBy(() -> rows.row().set(TEXT, "x"))
        .withMessage("table T has no column TEXT");
    assertThatExceptionOfType(IndexOutOfBoundsException.class)
        .isThrownBy(() -> rows.row().set(1, 1));
  }

  @Test
  void refusesMoreRowsThanTheTableAllows() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER).maxRows(2));
    rows.row();
    rows.row();

    assertThatIllegalStateException()
        .isThrownBy(rows::row)
        .withMessage("table T: more than 2 rows");
  }

  @Test
  void refusesRowsOnceClosed() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER));
    rows.close();

    assertThatIllegalStateException().isThrownBy(rows::row).withMessageContaining("too late");
  }

  @Test
  void refusesRowsOnceTheSamplerHasEnded() throws Exception {
    SampleRows rows = rows(TableDefinition.builder("T").column(NUMBER));
    rows.row().set(NUMBER, 1);

    assertThat(rows.finish()).hasSize(1);

    assertThatIllegalStateException().isThrownBy(rows::row).withMessageContaining("too late");
  }

  private SampleRows rows(TableDefinition.Builder builder, String... subnodes) throws Exception {
    TableDefinition table = builder.build();
    IncomingSample request =
        new IncomingSample(
            table, Fields.of("test", NativeSide.sampleBody(table.name(), subnodes)));
    return new SampleRows(
        new TableLayout(table), request, new TraceLog(trace, "TEST", SampleRows.class));
  }

  private static ByteBuffer only(SampleRows rows) {
    assertThat(rows.finish()).hasSize(1);
    return row(rows, 0);
  }

  private static ByteBuffer row(SampleRows rows, int index) {
    return ByteBuffer.wrap((byte[]) rows.finish().get(index)).order(ByteOrder.nativeOrder());
  }

  private static String text(ByteBuffer row, int offset, int size) {
    return new String(row.array(), offset, size, StandardCharsets.US_ASCII);
  }
}
