package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.ActionHandler;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.AgentInfo;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.agent.Subnodes;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.agent.WebHandler;
import com.qrv.norvel.monitoring.toolkit.bridge.NotificationCode;
import java.util.ArrayList;
import java.util.HashMap;

/** The agent, as it is handed to the application. */
final class RunningAgent implements Agent {
  /**
   * System property that is set once the application has asked the agent to end: the agent's process
   * takes an end without it, and without a signal, for a failure.
   */
  static final String STOP_REASON = "zel.stop.reason";

  private final AgentInfo info;
  private final TraceSink sink;
  private final AgentLog ownLog;
  private final NotificationSender notifications;
  private final EventSender events;
  private final Handlers handlers;
  private final Subnodes subnodes;
  private final Daemons daemons;
  private final ArrayList<TableLayout> tables = new ArrayList<TableLayout>(); // guarded by this
  private final HashMap<String, SampledTable> sampled =
      new HashMap<String, SampledTable>(); // guarded by this until sealed, constant from then on
  private boolean sealed; // guarded by this, as what follows
  private String agentAffinity;
  private String versionAffinity;

  RunningAgent(
      AgentInfo info,
      TraceSink sink,
      AgentLog ownLog,
      NotificationSender notifications,
      EventSender events,
      Handlers handlers,
      Subnodes subnodes,
      Daemons daemons) {
    this.info = info;
    this.sink = sink;
    this.ownLog = ownLog;
    this.notifications = notifications;
    this.events = events;
    this.handlers = handlers;
    this.subnodes = subnodes;
    this.daemons = daemons;
    agentAffinity = "AFF_" + info.productCode();
    versionAffinity = "AFF_" + info.productCode() + "_VERSION_1";
  }

  @Override
  public AgentInfo info() {
    return info;
  }

  @Override
  public synchronized void table(TableDefinition table, Sampler sampler) {
    checkNotSealed("table " + table.name());
    if (sampler == null) {
      throw new IllegalArgumentException("table " + table.name() + " has no sampler");
    }
    if (table.isEvents()) {
      throw new IllegalArgumentException(
          "table " + table.name() + " has events: declare it as an event table");
    }
    sampled.put(table.name(), new SampledTable(declare(table), sampler));
    handlers.situations.addSampledTable(table.name());
  }

  @Override
  public EventTable eventTable(TableDefinition table) {
    return declareEvents(table, null);
  }

  @Override
  public EventTable eventTable(TableDefinition table, SituationHandler situations) {
    if (situations == null) {
      throw new IllegalArgumentException(
          "table " + table.name() + ": a handler of situations may not be null");
    }
    return declareEvents(table, situations);
  }

  @Override
  public synchronized void onSituation(SituationHandler situations) {
    checkNotSealed("the handler of situations");
    handlers.situations.tellOfSampledTables(situations);
  }

  @Override
  public void action(String word, ActionHandler handler) {
    action(word, ACTION_DEADLINE_MS, handler);
  }

  @Override
  public synchronized void action(String word, long deadlineMs, ActionHandler handler) {
    checkNotSealed("action " + word);
    handlers.actions.add(word, deadlineMs, handler);
  }

  @Override
  public void web(String prefix, WebHandler handler) {
    web(prefix, WEB_DEADLINE_MS, handler);
  }

  @Override
  public synchronized void web(String prefix, long deadlineMs, WebHandler handler) {
    checkNotSealed("page " + prefix);
    handlers.pages.add(prefix, deadlineMs, handler);
  }

  @Override
  public synchronized void affinities(String agent, String version) {
    checkNotSealed("the affinities");
    if (agent == null || version == null) {
      throw new IllegalArgumentException("an affinity may be empty, not null");
    }
    agentAffinity = agent;
    versionAffinity = version;
  }

  @Override
  public Subnodes subnodes() {
    return subnodes;
  }

  @Override
  public AgentLog log(Class<?> source) {
    return new TraceLog(sink, info.productCode(), source);
  }

  @Override
  public Daemons daemons() {
    return daemons;
  }

  @Override
  public void stop(String reason) {
    ownLog.always("The application asks the agent to end: " + reason);
    if (notifications.send(NotificationCode.SHUTDOWN, new HashMap<Integer, Object>())) {
      System.setProperty(STOP_REASON, String.valueOf(reason));
    }
  }

  /** Takes no more declarations. What the operations below return is constant from here on. */
  synchronized void seal() {
    sealed = true;
    events.nudgeWith(nudgedTable());
  }

  synchronized ArrayList<Object> tableDescriptions() {
    ArrayList<Object> descriptions = new ArrayList<Object>(tables.size());
    for (int i = 0; i < tables.size(); i++) {
      descriptions.add(tables.get(i).description());
    }
    return descriptions;
  }

  synchronized String agentAffinity() {
    return agentAffinity;
  }

  synchronized String versionAffinity() {
    return versionAffinity;
  }

  /** A sampled table, or null. Only once sealed. */
  SampledTable find(String table) {
    return sampled.get(table);
  }

  synchronized boolean isEventTable(String table) {
    for (int i = 0; i < tables.size(); i++) {
      if (tables.get(i).table.name().equals(table)) {
        return tables.get(i).table.isEvents();
      }
    }
    return false;
  }

  Handlers handlers() {
    return handlers;
  }

  private synchronized EventTable declareEvents(
      TableDefinition table, SituationHandler situations) {
    checkNotSealed("table " + table.name());
    if (!table.isEvents()) {
      throw new IllegalArgumentException(
          "table " + table.name() + " has no events: build it with events()");
    }
    TableLayout layout = declare(table);
    return events.add(layout, handlers.situations.addEventTable(table, situations));
  }

  private TableLayout declare(TableDefinition table) {
    for (int i = 0; i < tables.size(); i++) {
      if (tables.get(i).table.name().equals(table.name())) {
        throw new IllegalArgumentException("table " + table.name() + " is declared twice");
      }
    }
    TableLayout layout = new TableLayout(table);
    tables.add(layout);
    return layout;
  }

  /** An empty batch does nothing on any table; on an event table it is what the table is for. */
  private String nudgedTable() {
    for (int i = 0; i < tables.size(); i++) {
      if (tables.get(i).table.isEvents()) {
        return tables.get(i).table.name();
      }
    }
    return tables.isEmpty() ? null : tables.get(0).table.name();
  }

  private void checkNotSealed(String what) {
    if (sealed) {
      throw new IllegalStateException(
          what + ": too late; declarations belong in Application.configure");
    }
  }
}
