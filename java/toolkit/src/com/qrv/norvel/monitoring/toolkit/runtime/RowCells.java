package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.ColumnType;
import com.qrv.norvel.monitoring.toolkit.agent.Row;

/** Writes cells into the row that is current. Belongs to one thread. */
final class RowCells implements Row {
  private final TableLayout layout;
  private final BadCells bad;
  private byte[] current;

  RowCells(TableLayout layout, BadCells bad) {
    this.layout = layout;
    this.bad = bad;
  }

  /**
   * Moves on to the next row.
   *
   * @param row null when no more may be written
   */
  void begin(byte[] row) {
    current = row;
  }

  @Override
  public Row set(int index, long value) {
    Column column = writable(index);
    ColumnType type = column.type();
    if (type.isText()) {
      bad(index, Long.toString(value), " is not text");
    } else if (value < type.min() || value > type.max()) {
      bad(index, Long.toString(value), " is not in " + type.min() + " to " + type.max());
    } else {
      layout.putInteger(current, index, value);
    }
    return this;
  }

  @Override
  public Row set(int index, String value) {
    Column column = writable(index);
    if (value == null) {
      layout.clear(current, index);
    } else if (!column.type().isText()) {
      bad(index, BadCells.quoted(value), " is not a number");
    } else {
      layout.putText(current, index, value);
    }
    return this;
  }

  @Override
  public Row set(Column column, long value) {
    return set(layout.table.indexOf(column.name()), value);
  }

  @Override
  public Row set(Column column, String value) {
    return set(layout.table.indexOf(column.name()), value);
  }

  @Override
  public Row unavailable(int index) {
    writable(index);
    layout.clear(current, index);
    return this;
  }

  @Override
  public Row unavailable(Column column) {
    return unavailable(layout.table.indexOf(column.name()));
  }

  private Column writable(int index) {
    Column column = layout.column(index);
    if (layout.isFilledByToolkit(index)) {
      throw new IllegalArgumentException(layout.where(index) + " is filled by the toolkit");
    }
    if (current == null) {
      throw new IllegalStateException(layout.where(index) + ": too late, the row is finished");
    }
    return column;
  }

  private void bad(int index, String value, String problem) {
    layout.clear(current, index);
    bad.note(index, value, problem);
  }
}
