package com.qrv.norvel.monitoring.jmx.daemon;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.monitored.TargetKind;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import java.util.ArrayDeque;
import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;

/**
 * Starts the daemons of the configuration, each once for its process while this agent runs. One
 * thread uses it.
 */
public final class DaemonStarter {
  /** So many daemons are started within an hour at most: targets may come and go in a loop. */
  static final int MAX_PER_HOUR = 100;

  /** So many started ones are remembered; process ids come round again some day. */
  private static final int MAX_REMEMBERED = 10_000;

  private static final long HOUR_MILLIS = 3_600_000;

  private final List<DaemonRule> rules;
  private final Daemons daemons;
  private final Clock clock;
  private final OperatorLog log;
  private final Set<String> started = new LinkedHashSet<>();
  private final Map<String, Due> waiting = new LinkedHashMap<>();
  private final ArrayDeque<Long> starts = new ArrayDeque<>();
  private boolean limitReported;

  public DaemonStarter(List<DaemonRule> rules, Daemons daemons, Clock clock, OperatorLog log) {
    this.rules = rules;
    this.daemons = daemons;
    this.clock = clock;
    this.log = log;
  }

  /**
   * A target is there now, perhaps again. The agent itself is one.
   *
   * @param startTicks when the process started, which tells it from others with its pid
   */
  public void present(TargetStatus target, long startTicks) {
    boolean isSelf = target.kind() == TargetKind.SELF;
    for (int i = 0; i < rules.size(); i++) {
      DaemonRule rule = rules.get(i);
      // Of a target on another machine there is nothing that a daemon here could work on.
      boolean wanted = rule.perTarget() ? target.kind() == TargetKind.LOCAL : isSelf;
      String key = rule.name() + ' ' + target.pid() + ' ' + startTicks;
      if (wanted && !started.contains(key)) {
        waiting.putIfAbsent(key, new Due(rule, target));
      }
    }
    run();
  }

  /** The process of a target has ended: nothing is started for it any more. */
  public void vanished(String target) {
    waiting.values().removeIf(due -> due.target.name().equals(target));
  }

  /** Starts what may be started by now. */
  public void run() {
    Iterator<Map.Entry<String, Due>> entries = waiting.entrySet().iterator();
    while (entries.hasNext()) {
      Map.Entry<String, Due> entry = entries.next();
      Due due = entry.getValue();
      if (!mayStart()) {
        reportLimit(due);
        return;
      }
      entries.remove();
      remember(entry.getKey());
      start(due);
    }
  }

  private void remember(String key) {
    started.add(key);
    if (started.size() > MAX_REMEMBERED) {
      started.remove(started.iterator().next());
    }
  }

  private void reportLimit(Due due) {
    if (!limitReported) {
      limitReported = true;
      log.error(due.what() + " has to wait: " + MAX_PER_HOUR + " were started within an hour");
    }
  }

  private void start(Due due) {
    TargetStatus target = due.target;
    try {
      DaemonCommand command = due.rule.command(Long.toString(target.pid()), target.name());
      daemons.start(command);
      log.info(due.what() + " is started");
    } catch (IllegalArgumentException | IllegalStateException e) {
      log.error(due.what() + " can't be started: " + e.getMessage());
    }
  }

  private boolean mayStart() {
    long now = clock.millis();
    while (!starts.isEmpty() && now - starts.peekFirst() >= HOUR_MILLIS) {
      starts.removeFirst();
      limitReported = false;
    }
    if (starts.size() >= MAX_PER_HOUR) {
      return false;
    }
    starts.addLast(now);
    return true;
  }

  /** A daemon that is not started yet. */
  private record Due(DaemonRule rule, TargetStatus target) {
    String what() {
      return "daemon " + rule.name() + " for " + target.name();
    }
  }
}
