package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

class TableDefinitionTest {

  @Test
  void packsColumnsInTheirOrderWithoutGaps() {
    TableDefinition table =
        TableDefinition.builder("MIXED")
            .column(Columns.int16("A"))
            .column(Columns.int64("B"))
            .column(Columns.characters("C", 5))
            .column(Columns.int32("D"))
            .column(Columns.utf8("E", 3))
            .build();

    assertThat(new int[] {table.offset(0), table.offset(1), table.offset(2), table.offset(3)})
        .containsExactly(0, 2, 10, 15);
    assertThat(table.offset(4)).isEqualTo(19);
    assertThat(table.rowSize()).isEqualTo(22);
    assertThat(table.indexOf("D")).isEqualTo(3);
  }

  @ParameterizedTest
  @CsvSource({"INT16, 5, 2", "INT32, 1, 4", "INT64, 3, 8", "CHARACTERS, 9, 7", "UTF8, 12, 7"})
  void hasTheCodesAndSizesThatTablesAreRegisteredWith(ColumnType type, int code, int size) {
    Column column =
        switch (type) {
          case INT16 -> Columns.int16("C");
          case INT32 -> Columns.int32("C");
          case INT64 -> Columns.int64("C");
          case CHARACTERS -> Columns.characters("C", 7);
          case UTF8 -> Columns.utf8("C", 7);
        };

    assertThat(column.type().code()).isEqualTo(code);
    assertThat(column.size()).isEqualTo(size);
  }

  @ParameterizedTest
  @EnumSource
  void keepsTheLeastIntegerForWhatIsNotAvailable(ColumnType type) {
    if (!type.isText()) {
      assertThat(type.min()).isEqualTo(-type.max());
    }
  }

  @Test
  void putsTheSubnodeIntoAFixedColumnOf32Bytes() {
    TableDefinition table =
        TableDefinition.builder("T").perSubnode().column(Columns.int32("A")).build();

    assertThat(table.isPerSubnode()).isTrue();
    assertThat(table.column(0).name()).isEqualTo("ORIGINNODE");
    assertThat(table.column(0).type()).isEqualTo(ColumnType.CHARACTERS);
    assertThat(table.offset(1)).isEqualTo(32);
  }

  @ParameterizedTest
  @ValueSource(
      strings = {
        "", "a", "Aa", "1A", "_A", "A B", "A-B", "Ä", "ABCDEFGHIJKLMNOPQRSTUVWXYZ123456"
      })
  void refusesNamesThatAreNoIdentifiers(String name) {
    assertThatIllegalArgumentException()
        .isThrownBy(() -> Columns.int32(name))
        .withMessageContaining("'" + name + "'");
    assertThatIllegalArgumentException().isThrownBy(() -> TableDefinition.builder(name));
  }

  @ParameterizedTest
  @ValueSource(strings = {"A", "A_1", "ABCDEFGHIJKLMNOPQRSTUVWXYZ12345"})
  void takesIdentifiersOfUpTo31Characters(String name) {
    assertThat(Columns.int32(name).name()).isEqualTo(name);
  }

  @Test
  void refusesASecondColumnOfOneName() {
    TableDefinition.Builder builder = TableDefinition.builder("T").column(Columns.int32("A"));

    assertThatIllegalArgumentException()
        .isThrownBy(() -> builder.column(Columns.utf8("A", 4)))
        .withMessage("table T already has a column A");
  }

  @Test
  void refusesATableWithoutColumns() {
    assertThatIllegalArgumentException().isThrownBy(() -> TableDefinition.builder("T").build());
  }

  @Test
  void refusesARowThatPassesTheRangeOfOffsets() {
    TableDefinition.Builder builder =
        TableDefinition.builder("T")
            .column(Columns.utf8("A", 16384))
            .column(Columns.utf8("B", 16383));

    assertThat(builder.build().rowSize()).isEqualTo(32767);
    builder.column(Columns.utf8("C", 1));
    assertThatIllegalArgumentException().isThrownBy(builder::build).withMessageContaining("32768");
  }

  @ParameterizedTest
  @ValueSource(ints = {-1, 0, 16385})
  void refusesTextWidthsOutOfRange(int size) {
    assertThatIllegalArgumentException().isThrownBy(() -> Columns.utf8("A", size));
    assertThatIllegalArgumentException().isThrownBy(() -> Columns.characters("A", size));
  }

  @Test
  void refusesAnOwnColumnInPlaceOfTheSubnodes() {
    assertThatIllegalArgumentException()
        .isThrownBy(
            () -> TableDefinition.builder("T").column(Columns.characters("ORIGINNODE", 31)))
        .withMessageContainingAll("table T", "ORIGINNODE", "31", "32", "perSubnode()");
  }

  @Test
  void refusesLimitsOutOfRange() {
    TableDefinition.Builder builder = TableDefinition.builder("T");

    assertThatIllegalArgumentException().isThrownBy(() -> builder.deadlineMs(0));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.deadlineMs(3_600_001));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.cacheSeconds(-1));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.cacheSeconds(1001));
    assertThatIllegalArgumentException().isThrownBy(() -> builder.maxRows(0));
  }

  @Test
  void numbersTheEventsOfAnEventTable() {
    TableDefinition table =
        TableDefinition.builder("T").perSubnode().events().column(Columns.int32("N")).build();

    assertThat(table.isEvents()).isTrue();
    assertThat(table.columns().get(1).name()).isEqualTo(TableDefinition.EVENT_COLUMN);
    assertThat(table.columns().get(1).type()).isEqualTo(ColumnType.INT64);
    assertThat(table.maxQueued()).isEqualTo(10_000);
  }

  @Test
  void refusesWhatAKindOfTableDoesNotHave() {
    assertThatIllegalArgumentException()
        .isThrownBy(() -> TableDefinition.builder("T").events().cacheSeconds(5).build())
        .withMessage("table T: an event table has no sampler, and so no cacheSeconds()");
    assertThatIllegalArgumentException()
        .isThrownBy(() -> TableDefinition.builder("T").maxRows(5).events().build())
        .withMessage("table T: an event table has no sampler, and so no maxRows()");
    assertThatIllegalArgumentException()
        .isThrownBy(
            () -> TableDefinition.builder("T").column(Columns.int32("A")).maxQueued(5).build())
        .withMessage("table T: maxQueued() is for event tables, made by events()");
  }

  @Test
  void leavesTheColumnOfNumbersToEventTables() {
    assertThatIllegalArgumentException()
        .isThrownBy(() -> TableDefinition.builder("T").column(Columns.int64("EVENTSEQ")))
        .withMessage("table T: column EVENTSEQ is added by events()");
    assertThatIllegalArgumentException()
        .isThrownBy(() -> TableDefinition.builder("T").events().events());
    assertThatIllegalArgumentException()
        .isThrownBy(() -> TableDefinition.builder("T").maxQueued(0));
  }
}
