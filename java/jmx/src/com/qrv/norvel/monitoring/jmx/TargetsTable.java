package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;

/** The agent's own table: every target, reached or not, with its state. */
final class TargetsTable implements Sampler {
  static final TableDefinition DEFINITION =
      TableDefinition.builder("JVM_TARGETS")
          .column(Columns.utf8("NAME", TableDefinition.SUBNODE_SIZE))
          .column(Columns.utf8("KIND", 8))
          .column(Columns.utf8("STATE", 12))
          .column(Columns.utf8("TITLE", 128))
          .column(Columns.int32("PID"))
          .column(Columns.utf8("URL", 256))
          .column(Columns.int64("SINCE_MS"))
          .column(Columns.utf8("LAST_ERROR", 256))
          .column(Columns.int64("LAST_SAMPLE_MS"))
          .column(Columns.int64("SAMPLES"))
          .column(Columns.int64("FAILURES"))
          .build();

  private final Targets targets;

  TargetsTable(Targets targets) {
    this.targets = targets;
  }

  @Override
  public void sample(SampleRequest request, RowSink rows) {
    for (TargetStatus status : targets.statuses()) {
      Row row = rows.row();
      row.set(0, status.name());
      row.set(1, status.kind().text());
      row.set(2, status.state().text());
      row.set(3, status.title());
      if (status.pid() != TargetStatus.UNKNOWN) {
        row.set(4, status.pid());
      }
      row.set(5, status.url());
      row.set(6, status.sinceWallMillis());
      row.set(7, status.lastError());
      if (status.lastSampleMillis() != TargetStatus.UNKNOWN) {
        row.set(8, status.lastSampleMillis());
      }
      row.set(9, status.samples());
      row.set(10, status.failures());
    }
  }
}
