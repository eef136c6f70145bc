package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.base.Reported;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetException;
import com.qrv.norvel.monitoring.jmx.table.BeanColumn;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;

/** Serves one bean table for all targets. */
final class BeanSampler implements Sampler {
  /** The toolkit's column with the subnode's name comes first. */
  private static final int FIRST_COLUMN = 1;

  private final BeanTable table;
  private final Targets targets;
  private final OperatorLog log;
  private final Reported reported = new Reported();

  BeanSampler(BeanTable table, Targets targets, OperatorLog log) {
    this.table = table;
    this.targets = targets;
    this.log = log;
  }

  /** The table as the agent registers it. */
  static TableDefinition definition(BeanTable table, long deadlineMillis) {
    TableDefinition.Builder builder =
        TableDefinition.builder(table.name()).perSubnode().deadlineMs(deadlineMillis);
    for (BeanColumn column : table.columns()) {
      builder.column(column(column));
    }
    return builder.build();
  }

  private static Column column(BeanColumn column) {
    if (column.form() == BeanColumn.Form.TEXT) {
      return Columns.utf8(column.name(), column.size());
    }
    return column.form() == BeanColumn.Form.INT32
        ? Columns.int32(column.name())
        : Columns.int64(column.name());
  }

  @Override
  public void sample(SampleRequest request, RowSink rows) throws Exception {
    for (String name : request.subnodes()) {
      MonitoredJvm jvm = targets.find(name);
      if (jvm == null) {
        throw new TargetException("there is no target " + name);
      }
      for (Object[] cells : jvm.sample(table)) {
        write(name, cells, rows.row(name));
      }
    }
  }

  private void write(String target, Object[] cells, Row row) {
    for (int i = 0; i < cells.length; i++) {
      Object cell = cells[i];
      if (cell instanceof Long) {
        row.set(FIRST_COLUMN + i, ((Long) cell).longValue());
      } else if (cell instanceof String) {
        row.set(FIRST_COLUMN + i, (String) cell);
      } else {
        // A cell is not available until it is set.
        report(target, table.column(i), (Unavailable) cell);
      }
    }
  }

  private void report(String target, BeanColumn column, Unavailable cell) {
    if (!cell.isFault()) {
      return;
    }
    if (reported.isNew(target + ' ' + column.name())) {
      log.error(
          "target " + target + ": " + table.name() + '.' + column.name() + " has no value: "
              + cell.reason());
    }
  }
}
