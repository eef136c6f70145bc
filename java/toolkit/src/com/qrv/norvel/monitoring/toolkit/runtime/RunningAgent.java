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
  private final AgentInfo info;
  private final TraceSink sink;
  private final AgentLog ownLog;
  private final Notifications notifications;
  private final Subnodes subnodes;
  private final Daemons daemons;
  private final ArrayList<SampledTable> tables = new ArrayList<SampledTable>(); // guarded by this
  private final HashMap<String, SampledTable> byName =
      new HashMap<String, SampledTable>(); // guarded by this until sealed, constant from then on
  private boolean sealed; // guarded by this, as what follows
  private String agentAffinity;
  private String versionAffinity;

  RunningAgent(
      AgentInfo info,
      TraceSink sink,
      AgentLog ownLog,
      Notifications notifications,
      Subnodes subnodes,
      Daemons daemons) {
    this.info = info;
    this.sink = sink;
    this.ownLog = ownLog;
    this.notifications = notifications;
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
    if (byName.containsKey(table.name())) {
      throw new IllegalArgumentException("table " + table.name() + " is declared twice");
    }
    SampledTable sampled = new SampledTable(new TableLayout(table), sampler);
    byName.put(table.name(), sampled);
    tables.add(sampled);
  }

  @Override
  public EventTable eventTable(TableDefinition table) {
    throw new UnsupportedOperationException("event table " + table.name());
  }

  @Override
  public EventTable eventTable(TableDefinition table, SituationHandler situations) {
    throw new UnsupportedOperationException("event table " + table.name());
  }

  @Override
  public void onSituation(SituationHandler situations) {
    throw new UnsupportedOperationException("situations");
  }

  @Override
  public void action(String word, ActionHandler handler) {
    action(word, ACTION_DEADLINE_MS, handler);
  }

  @Override
  public void action(String word, long deadlineMs, ActionHandler handler) {
    throw new UnsupportedOperationException("action " + word);
  }

  @Override
  public void web(String prefix, WebHandler handler) {
    web(prefix, WEB_DEADLINE_MS, handler);
  }

  @Override
  public void web(String prefix, long deadlineMs, WebHandler handler) {
    throw new UnsupportedOperationException("page " + prefix);
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
    notifications.send(NotificationCode.SHUTDOWN, new HashMap<Integer, Object>());
  }

  /** Takes no more declarations. What the operations below return is constant from here on. */
  synchronized void seal() {
    sealed = true;
  }

  synchronized ArrayList<Object> tableDescriptions() {
    ArrayList<Object> descriptions = new ArrayList<Object>(tables.size());
    for (int i = 0; i < tables.size(); i++) {
      descriptions.add(tables.get(i).layout.description());
    }
    return descriptions;
  }

  synchronized String agentAffinity() {
    return agentAffinity;
  }

  synchronized String versionAffinity() {
    return versionAffinity;
  }

  /** A declared table, or null. Only once sealed. */
  SampledTable find(String table) {
    return byName.get(table);
  }

  private void checkNotSealed(String what) {
    if (sealed) {
      throw new IllegalStateException(
          what + " comes too late: declarations belong into Application.configure");
    }
  }
}
