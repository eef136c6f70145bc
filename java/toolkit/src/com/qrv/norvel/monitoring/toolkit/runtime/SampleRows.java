package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.ColumnType;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;

/**
 * The rows of one sample. The sampler's thread fills it; when that has ended in time, the waiting
 * thread takes the rows, otherwise nobody ever does.
 */
final class SampleRows implements RowSink, Row {
  private final TableLayout layout;
  private final List<String> subnodes;
  private final AgentLog log;
  private final ArrayList<Object> rows = new ArrayList<Object>();
  private final HashMap<String, byte[]> templates = new HashMap<String, byte[]>();
  private byte[] template;
  private byte[] current;
  private int[] badCells;
  private volatile boolean closed;

  SampleRows(TableLayout layout, SampleRequest request, AgentLog log) {
    this.layout = layout;
    this.log = log;
    subnodes = request.subnodes();
  }

  /** Refuses further rows. The sampler may still be running. */
  void close() {
    closed = true;
  }

  /** The rows, once the sampler has ended. */
  ArrayList<Object> finish() {
    if (badCells != null) {
      for (int i = 0; i < badCells.length; i++) {
        if (badCells[i] > 1) {
          log.warning(where(i) + ": " + (badCells[i] - 1) + " more bad values in this sample");
        }
      }
    }
    return rows;
  }

  @Override
  public Row row() {
    if (template == null) {
      template = layout.newRow(onlySubnode());
    }
    return add(template);
  }

  @Override
  public Row row(String subnode) {
    byte[] start = templates.get(subnode);
    if (start == null) {
      if (!layout.table.isPerSubnode() || !subnodes.contains(subnode)) {
        throw new IllegalArgumentException(
            "table " + layout.table.name() + " was not asked for subnode " + subnode);
      }
      start = layout.newRow(subnode);
      templates.put(subnode, start);
    }
    return add(start);
  }

  private Row add(byte[] start) {
    if (closed) {
      throw new IllegalStateException(
          "table " + layout.table.name() + ": too late, the sample has been given up");
    }
    if (rows.size() >= layout.table.maxRows()) {
      throw new IllegalStateException(
          "table " + layout.table.name() + ": more than " + layout.table.maxRows() + " rows");
    }
    current = start.clone();
    rows.add(current);
    return this;
  }

  private String onlySubnode() {
    if (!layout.table.isPerSubnode()) {
      return null;
    }
    if (subnodes.size() != 1) {
      throw new IllegalStateException(
          "table "
              + layout.table.name()
              + " was asked for "
              + subnodes.size()
              + " subnodes: a row has to name its own");
    }
    return subnodes.get(0);
  }

  @Override
  public Row set(int index, long value) {
    Column column = writable(index);
    ColumnType type = column.type();
    if (type.isText()) {
      bad(index, Long.toString(value), " is no text");
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
      bad(index, quoted(value), " is no number");
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
    if (layout.isSubnodeColumn(index)) {
      throw new IllegalArgumentException(where(index) + " is filled by the toolkit");
    }
    return column;
  }

  private void bad(int index, String value, String problem) {
    layout.clear(current, index);
    if (badCells == null) {
      badCells = new int[layout.table.columns().size()];
    }
    badCells[index]++;
    if (badCells[index] == 1) {
      log.warning(where(index) + ": value " + value + problem + "; the cell is not available");
    }
  }

  private String where(int index) {
    return "table " + layout.table.name() + ", column " + layout.column(index).name();
  }

  private static String quoted(String value) {
    return "'" + (value.length() > 80 ? value.substring(0, 80) + "..." : value) + "'";
  }
}
