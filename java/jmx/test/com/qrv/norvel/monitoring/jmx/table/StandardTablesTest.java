package com.qrv.norvel.monitoring.jmx.table;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.util.HashMap;
import java.util.HashSet;
import java.util.Map;
import java.util.Set;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

final class StandardTablesTest {
  private final SelfBeans self = new SelfBeans();

  static BeanTable[] tables() {
    return StandardTables.all();
  }

  @ParameterizedTest
  @MethodSource("tables")
  void thisJvmGivesEveryColumnOfATable(BeanTable table) throws IOException {
    Object[][] rows = table.read(self, "me");

    assertThat(rows).isNotEmpty();
    for (Object[] row : rows) {
      for (int i = 0; i < row.length; i++) {
        String where = table.name() + '.' + table.column(i).name();
        if (row[i] instanceof Unavailable) {
          assertThat(((Unavailable) row[i]).isFault()).as(where + ": " + row[i]).isFalse();
        } else if (table.column(i).form() == BeanColumn.Form.TEXT) {
          assertThat(row[i]).as(where).isInstanceOf(String.class);
        } else {
          assertThat(row[i]).as(where).isInstanceOf(Long.class);
        }
      }
    }
  }

  @Test
  void columnNamesAreUniqueWithinATable() {
    for (BeanTable table : StandardTables.all()) {
      Set<String> names = new HashSet<>();
      for (BeanColumn column : table.columns()) {
        assertThat(names.add(column.name())).as(table.name() + '.' + column.name()).isTrue();
      }
    }
  }

  @Test
  void theRuntimeTableShowsPidTitleAndStart() throws IOException {
    Map<String, Object> row = row(StandardTables.RUNTIME, 0);

    assertThat(row.get("PID")).isEqualTo(ProcessHandle.current().pid());
    assertThat(row.get("NAME")).isEqualTo("me");
    assertThat(row.get("START_TIME_MS"))
        .isEqualTo(ManagementFactory.getRuntimeMXBean().getStartTime());
    assertThat(row.get("JAVA_VERSION")).isEqualTo(String.valueOf(Runtime.version().feature()));
  }

  @Test
  void theMemoryTableTakesTheItemsOfCompositeAttributesApart() throws IOException {
    Map<String, Object> row = row(StandardTables.MEMORY, 0);

    assertThat(row.get("HEAP_MAX"))
        .isEqualTo(ManagementFactory.getMemoryMXBean().getHeapMemoryUsage().getMax());
    assertThat((Long) row.get("HEAP_USED"))
        .isPositive()
        .isLessThanOrEqualTo((Long) row.get("HEAP_COMMITTED"));
  }

  @Test
  void thereIsOneRowPerCollectorAndPool() throws IOException {
    assertThat(StandardTables.GC.read(self, ""))
        .hasSameSizeAs(ManagementFactory.getGarbageCollectorMXBeans());
    assertThat(StandardTables.MEMPOOL.read(self, ""))
        .hasSameSizeAs(ManagementFactory.getMemoryPoolMXBeans());
  }

  @Test
  void fractionsAreShownInThousandthsAndUnknownOnesNotAtAll() {
    BeanTable table = BeanTable.of("T", "b").milli("LOAD_MILLI", "Load").build();

    assertThat(table.column(0).cell(1.2345)).isEqualTo(1235L);
    assertThat(table.column(0).cell(-1.0)).isSameAs(Unavailable.NOTHING);
    assertThat(table.column(0).cell(Double.NaN)).isSameAs(Unavailable.NOTHING);
  }

  @Test
  void aValueOfTheWrongKindCostsItsCellOnly() throws IOException {
    BeanTable table =
        BeanTable.of("T", "b").int64("A", "A").int64("B", "B", "used").int64("C", "C").build();
    BeanSource source = (beans, attributes) -> new Object[][] {{"text", 5L, 7}};

    Object[] row = table.read(source, "")[0];

    assertThat(((Unavailable) row[0]).reason()).contains("java.lang.String");
    assertThat(((Unavailable) row[1]).reason()).contains("not a composite");
    assertThat(row[2]).isEqualTo(7L);
  }

  @Test
  void anAttributeOfSeveralColumnsIsReadOnce() throws IOException {
    String[][] asked = new String[1][];
    BeanSource source =
        (beans, attributes) -> {
          asked[0] = attributes;
          return new Object[0][];
        };

    StandardTables.MEMORY.read(source, "");

    assertThat(asked[0])
        .containsExactly(
            "HeapMemoryUsage", "NonHeapMemoryUsage", "ObjectPendingFinalizationCount");
  }

  private Map<String, Object> row(BeanTable table, int index) throws IOException {
    Object[] cells = table.read(self, "me")[index];
    Map<String, Object> row = new HashMap<>();
    for (int i = 0; i < cells.length; i++) {
      row.put(table.column(i).name(), cells[i]);
    }
    return row;
  }
}
