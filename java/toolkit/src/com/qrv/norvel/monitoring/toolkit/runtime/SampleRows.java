package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
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
final class SampleRows implements RowSink {
  private final TableLayout layout;
  private final List<String> subnodes;
  private final BadCells bad;
  private final RowCells cells;
  private final ArrayList<Object> rows = new ArrayList<Object>();
  private final HashMap<String, byte[]> templates = new HashMap<String, byte[]>();
  private byte[] template;
  private volatile boolean closed;

  SampleRows(TableLayout layout, SampleRequest request, AgentLog log) {
    this.layout = layout;
    bad = BadCells.ofSample(layout, log);
    cells = new RowCells(layout, bad);
    subnodes = request.subnodes();
  }

  /** Refuses further rows. The sampler may still be running. */
  void close() {
    closed = true;
  }

  /** The rows, once the sampler has ended. Refuses further ones: a sampler may keep the sink. */
  ArrayList<Object> finish() {
    closed = true;
    bad.summarize();
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
          "table " + layout.table.name() + ": too late, the sample is over");
    }
    if (rows.size() >= layout.table.maxRows()) {
      throw new IllegalStateException(
          "table " + layout.table.name() + ": more than " + layout.table.maxRows() + " rows");
    }
    byte[] row = start.clone();
    rows.add(row);
    cells.begin(row);
    return cells;
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
}
