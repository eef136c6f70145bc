package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.EventWriter;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** Keeps the events of a table, as cells by column. */
public final class RecordingEvents implements EventTable {
  private final TableDefinition definition;
  private final List<Map<String, Object>> events = new ArrayList<>();
  private long missed;

  public RecordingEvents(TableDefinition definition) {
    this.definition = definition;
  }

  public synchronized List<Map<String, Object>> events() {
    return new ArrayList<>(events);
  }

  public synchronized long missed() {
    return missed;
  }

  @Override
  public synchronized void missed(long count) {
    missed += count;
  }

  @Override
  public TableDefinition definition() {
    return definition;
  }

  @Override
  public synchronized boolean offer(String subnode, EventWriter event) {
    Map<String, Object> cells = new LinkedHashMap<>();
    cells.put(TableDefinition.SUBNODE_COLUMN, subnode);
    event.write(new RecordingRow(definition, cells));
    events.add(cells);
    return true;
  }

  @Override
  public boolean offer(EventWriter event) {
    throw new UnsupportedOperationException();
  }

  @Override
  public boolean emit(EventWriter event, long timeoutMs) {
    throw new UnsupportedOperationException();
  }

  @Override
  public boolean emit(String subnode, EventWriter event, long timeoutMs) {
    throw new UnsupportedOperationException();
  }

  @Override
  public synchronized long emitted() {
    return events.size();
  }

  @Override
  public long lost() {
    return 0;
  }

  @Override
  public boolean isArmed() {
    return true;
  }
}
