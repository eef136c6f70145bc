package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Filter;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;

/** A sample request as the native side sends it. */
final class IncomingSample implements SampleRequest {
  private final TableDefinition table;
  private final List<String> subnodes;
  private final List<Filter> filters;
  private final boolean history;
  private final boolean automation;
  private final String situation;

  IncomingSample(TableDefinition table, Fields body) throws MalformedMessageException {
    this.table = table;
    subnodes = Collections.unmodifiableList(Blanks.trimEnds(body.texts(Keys.Sample.SUBNODES)));
    filters = Collections.unmodifiableList(filters(body.list(Keys.Sample.FILTERS)));
    history = body.flag(Keys.Sample.HISTORY);
    automation = body.flag(Keys.Sample.AUTOMATION);
    situation = body.text(Keys.Sample.SITUATION);
  }

  /** What must not run twice at once: the table, for each subnode that it is asked for. */
  String[] keys() {
    if (subnodes.isEmpty()) {
      return new String[] {table.name()};
    }
    String[] keys = new String[subnodes.size()];
    for (int i = 0; i < keys.length; i++) {
      keys[i] = table.name() + "@" + subnodes.get(i);
    }
    return keys;
  }

  /** Table and subnodes, for messages. */
  String title() {
    return subnodes.isEmpty() ? "table " + table.name() : "table " + table.name() + " " + subnodes;
  }

  @Override
  public TableDefinition table() {
    return table;
  }

  @Override
  public List<String> subnodes() {
    return subnodes;
  }

  @Override
  public String subnode() {
    if (subnodes.size() != 1) {
      throw new IllegalStateException(
          "table " + table.name() + " was asked for " + subnodes.size() + " subnodes");
    }
    return subnodes.get(0);
  }

  @Override
  public List<Filter> filters() {
    return filters;
  }

  @Override
  public boolean isHistory() {
    return history;
  }

  @Override
  public boolean isAutomation() {
    return automation;
  }

  @Override
  public String situation() {
    return situation;
  }

  private static ArrayList<Filter> filters(ArrayList<?> list) throws MalformedMessageException {
    ArrayList<Filter> filters = new ArrayList<Filter>(list.size());
    for (int i = 0; i < list.size(); i++) {
      Fields filter = Fields.of("filter of a sample request", list.get(i));
      filters.add(
          new Filter(
              filter.text(Keys.SampleFilter.COLUMN), filter.text(Keys.SampleFilter.VALUE)));
    }
    return filters;
  }
}
