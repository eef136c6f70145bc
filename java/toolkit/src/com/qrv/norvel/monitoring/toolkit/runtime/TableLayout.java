package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.ColumnType;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;

/** A table in the forms that rows are written with and that it is registered with. Immutable. */
final class TableLayout {
  private static final int NO_COLUMN = -1;

  final TableDefinition table;
  private final Column[] columns;
  private final int[] offsets;
  private final int subnodeIndex;
  private final int eventIndex;
  private final byte[] emptyRow;

  TableLayout(TableDefinition table) {
    this.table = table;
    List<Column> declared = table.columns();
    columns = declared.toArray(new Column[declared.size()]);
    offsets = new int[columns.length];
    emptyRow = new byte[table.rowSize()];
    for (int i = 0; i < columns.length; i++) {
      offsets[i] = table.offset(i);
      clear(emptyRow, i);
    }
    subnodeIndex =
        table.isPerSubnode() ? table.indexOf(TableDefinition.SUBNODE_COLUMN) : NO_COLUMN;
    eventIndex = table.isEvents() ? table.indexOf(TableDefinition.EVENT_COLUMN) : NO_COLUMN;
  }

  boolean isFilledByToolkit(int index) {
    return index == subnodeIndex || index == eventIndex;
  }

  /** Table and column, for messages. */
  String where(int index) {
    return "table " + table.name() + ", column " + columns[index].name();
  }

  /**
   * A row all of whose cells are "not available".
   *
   * @param subnode whom the row belongs to; null in a table without subnodes
   */
  byte[] newRow(String subnode) {
    byte[] row = emptyRow.clone();
    if (subnode != null) {
      putText(row, subnodeIndex, subnode);
    }
    return row;
  }

  Column column(int index) {
    return columns[index];
  }

  /** Numbers a row of an event table. */
  void putEventNumber(byte[] row, long number) {
    putInteger(row, eventIndex, number);
  }

  void putInteger(byte[] row, int index, long value) {
    RowEncoding.putInteger(row, offsets[index], columns[index].size(), value);
  }

  void putText(byte[] row, int index, String text) {
    Column column = columns[index];
    RowEncoding.putText(row, offsets[index], column.size(), text, pad(column));
  }

  /** Makes a cell "not available". */
  void clear(byte[] row, int index) {
    Column column = columns[index];
    if (column.type().isText()) {
      RowEncoding.fill(row, offsets[index], column.size(), pad(column));
    } else {
      putInteger(row, index, column.type().min() - 1);
    }
  }

  /** What the reply to the init request says of this table. */
  HashMap<Integer, Object> description() {
    ArrayList<Object> list = new ArrayList<Object>(columns.length);
    for (int i = 0; i < columns.length; i++) {
      HashMap<Integer, Object> column = new HashMap<Integer, Object>();
      column.put(Keys.TableColumn.NAME, columns[i].name());
      column.put(Keys.TableColumn.TYPE, Integer.valueOf(columns[i].type().code()));
      column.put(Keys.TableColumn.SIZE, Integer.valueOf(columns[i].size()));
      column.put(Keys.TableColumn.OFFSET, Integer.valueOf(offsets[i]));
      list.add(column);
    }
    HashMap<Integer, Object> description = new HashMap<Integer, Object>();
    description.put(Keys.Table.NAME, table.name());
    description.put(Keys.Table.COLUMNS, list);
    description.put(Keys.Table.SITUATION_TRAP, Boolean.valueOf(table.isEvents()));
    return description;
  }

  private static byte pad(Column column) {
    return column.type() == ColumnType.CHARACTERS ? (byte) ' ' : 0;
  }
}
