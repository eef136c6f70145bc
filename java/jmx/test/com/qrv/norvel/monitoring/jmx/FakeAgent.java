package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.toolkit.agent.ActionHandler;
import com.qrv.norvel.monitoring.toolkit.agent.ActionRequest;
import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.AgentInfo;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Filter;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.agent.Subnodes;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.agent.WebHandler;
import com.qrv.norvel.monitoring.toolkit.agent.WebRequest;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** An agent without its native side: declares tables and asks their samplers. */
public final class FakeAgent implements Agent {
  final RecordingSubnodes subnodes = new RecordingSubnodes();
  final List<String> errors = Collections.synchronizedList(new ArrayList<>());
  private final Map<String, TableDefinition> definitions = new LinkedHashMap<>();
  private final Map<String, SituationHandler> watchers = new LinkedHashMap<>();
  private final Map<String, RecordingEvents> eventTables = new LinkedHashMap<>();
  final RecordingDaemons daemons = new RecordingDaemons();
  private final Map<String, ActionHandler> actions = new LinkedHashMap<>();
  private final Map<String, WebHandler> pages = new LinkedHashMap<>();
  private final Map<String, Sampler> samplers = new HashMap<>();

  @Override
  public AgentInfo info() {
    return new AgentInfo("ZJX", "", "host");
  }

  @Override
  public void table(TableDefinition table, Sampler sampler) {
    definitions.put(table.name(), table);
    samplers.put(table.name(), sampler);
  }

  @Override
  public EventTable eventTable(TableDefinition table) {
    throw new UnsupportedOperationException();
  }

  @Override
  public EventTable eventTable(TableDefinition table, SituationHandler situations) {
    watchers.put(table.name(), situations);
    eventTables.put(table.name(), new RecordingEvents(table));
    return eventTables.get(table.name());
  }

  @Override
  public void onSituation(SituationHandler situations) {
    throw new UnsupportedOperationException();
  }

  @Override
  public void action(String word, ActionHandler handler) {
    actions.put(word, handler);
  }

  @Override
  public void action(String word, long deadlineMs, ActionHandler handler) {
    actions.put(word, handler);
  }

  @Override
  public void web(String prefix, WebHandler handler) {
    pages.put(prefix, handler);
  }

  @Override
  public void web(String prefix, long deadlineMs, WebHandler handler) {
    pages.put(prefix, handler);
  }

  @Override
  public void affinities(String agentAffinity, String versionAffinity) {
    throw new UnsupportedOperationException();
  }

  @Override
  public Subnodes subnodes() {
    return subnodes;
  }

  @Override
  public AgentLog log(Class<?> source) {
    return new Log();
  }

  @Override
  public Daemons daemons() {
    return daemons;
  }

  @Override
  public void stop(String reason) {
    throw new UnsupportedOperationException();
  }

  /** Runs an action as the agent does with a command of these words. */
  public ActionResult run(String node, String word, String... arguments) throws Exception {
    List<String> words = Arrays.asList(arguments);
    return actions
        .get(word)
        .run(new ActionRequest(node, word, words, word + ' ' + String.join(" ", words)));
  }

  /** Has a situation watch an event table, or cease to. */
  public void watch(String table, String situation, boolean begins) throws Exception {
    Situation rule = new Situation(situation, table, 0, false, false, List.of(), List.of());
    if (begins) {
      watchers.get(table).armed(rule);
    } else {
      watchers.get(table).disarmed(rule);
    }
  }

  public RecordingEvents events(String table) {
    return eventTables.get(table);
  }

  /** Asks for a page of the handler at "/". */
  WebResponse get(String path) throws Exception {
    return pages.get("/").answer(new WebRequest("/", path, "", ""));
  }

  List<String> tableNames() {
    return new ArrayList<>(definitions.keySet());
  }

  /** The rows of a table, as cells by column; absent cells are not available. */
  List<Map<String, Object>> sample(String table, String... names) throws Exception {
    Rows rows = new Rows(definitions.get(table));
    samplers.get(table).sample(new Request(definitions.get(table), Arrays.asList(names)), rows);
    return rows.all;
  }

  private static final class Rows implements RowSink {
    private final TableDefinition table;
    private final List<Map<String, Object>> all = new ArrayList<>();

    Rows(TableDefinition table) {
      this.table = table;
    }

    @Override
    public Row row() {
      return begin();
    }

    @Override
    public Row row(String subnode) {
      Row row = begin();
      all.get(all.size() - 1).put(TableDefinition.SUBNODE_COLUMN, subnode);
      return row;
    }

    private Row begin() {
      Map<String, Object> cells = new HashMap<>();
      all.add(cells);
      return new RecordingRow(table, cells);
    }
  }

  private static final class Request implements SampleRequest {
    private final TableDefinition table;
    private final List<String> subnodes;

    Request(TableDefinition table, List<String> subnodes) {
      this.table = table;
      this.subnodes = subnodes;
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
      return subnodes.get(0);
    }

    @Override
    public List<Filter> filters() {
      return new ArrayList<>();
    }

    @Override
    public boolean isHistory() {
      return false;
    }

    @Override
    public boolean isAutomation() {
      return false;
    }

    @Override
    public String situation() {
      return "";
    }
  }

  private final class Log implements AgentLog {
    @Override
    public void error(String message) {
      errors.add(message);
    }

    @Override
    public void error(String message, Throwable cause) {
      errors.add(message);
    }

    @Override
    public void warning(String message) {
      errors.add(message);
    }

    @Override
    public void warning(String message, Throwable cause) {
      errors.add(message);
    }

    @Override
    public void always(String message) {}

    @Override
    public void state(String message) {}

    @Override
    public void flow(String message) {}

    @Override
    public void detail(String message) {}
  }
}
