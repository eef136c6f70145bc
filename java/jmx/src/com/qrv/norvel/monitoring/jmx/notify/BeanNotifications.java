package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.base.BoundedLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.link.TimeBudget;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.atomic.AtomicLong;

/**
 * The event tables of the application, and the listeners that fill them. Nothing is listened to
 * while nobody watches a table. Any thread may call; nothing blocks.
 */
public final class BeanNotifications implements Runnable {
  private final Clock clock;
  private final long callMillis;
  private final OperatorLog log;
  private final List<WatchedTable> tables = new ArrayList<>();
  private final Map<MonitoredJvm, Listeners> targets = new LinkedHashMap<>(); // guarded by itself
  private final AtomicLong rounds = new AtomicLong();

  /** @param callMillis how long a call on a target may take */
  public BeanNotifications(
      List<NotificationRule> configured, Clock clock, long callMillis, OperatorLog log) {
    this.clock = clock;
    this.callMillis = callMillis;
    this.log = log;
    tables.add(new WatchedTable(new GcEvents(), this, BoundedLog.ofSource(log, clock)));
    for (NotificationRule rule : configured) {
      OperatorLog own = BoundedLog.ofSource(log, clock);
      tables.add(new WatchedTable(new ConfiguredEvents(rule), this, own));
    }
  }

  /** Declares the tables. */
  public void register(Agent agent) {
    for (WatchedTable table : tables) {
      table.bind(agent.eventTable(table.source().definition(), table));
    }
  }

  /** A target has been reached, perhaps again: what is wanted is listened to there. */
  public void up(MonitoredJvm target) {
    Listeners listeners;
    synchronized (targets) {
      listeners = targets.get(target);
      if (listeners == null) {
        TimeBudget budget = TimeBudget.ofCall(clock, callMillis);
        listeners =
            new Listeners(
                target.name(),
                tables,
                budget,
                rest -> listen(target, rest),
                BoundedLog.ofSource(log, clock));
        targets.put(target, listeners);
      }
    }
    listen(target, listeners);
  }

  /** A target is not monitored any more. */
  public void forget(MonitoredJvm target) {
    synchronized (targets) {
      targets.remove(target);
    }
  }

  /** Looks at all targets again: something else is wanted, or there may be new beans. */
  @Override
  public void run() {
    Map<MonitoredJvm, Listeners> all;
    synchronized (targets) {
      all = new LinkedHashMap<>(targets);
    }
    for (Map.Entry<MonitoredJvm, Listeners> each : all.entrySet()) {
      listen(each.getKey(), each.getValue());
    }
  }

  private void listen(MonitoredJvm target, TargetWork<?> listeners) {
    // A number of its own: a wish that comes while the last one is being seen to is seen to next.
    target.later("listening #" + rounds.incrementAndGet(), listeners);
  }
}
