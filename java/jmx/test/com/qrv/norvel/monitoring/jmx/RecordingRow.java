package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.Map;

/** A row whose cells go into a map by column; absent cells are not available. */
final class RecordingRow implements Row {
  private final TableDefinition table;
  private final Map<String, Object> cells;

  RecordingRow(TableDefinition table, Map<String, Object> cells) {
    this.table = table;
    this.cells = cells;
  }

  @Override
  public Row set(int index, long value) {
    return put(index, value);
  }

  @Override
  public Row set(int index, String value) {
    return put(index, value);
  }

  @Override
  public Row set(Column column, long value) {
    return put(table.indexOf(column.name()), value);
  }

  @Override
  public Row set(Column column, String value) {
    return put(table.indexOf(column.name()), value);
  }

  @Override
  public Row unavailable(int index) {
    cells.remove(table.column(index).name());
    return this;
  }

  @Override
  public Row unavailable(Column column) {
    return unavailable(table.indexOf(column.name()));
  }

  private Row put(int index, Object value) {
    cells.put(table.column(index).name(), value);
    return this;
  }
}
