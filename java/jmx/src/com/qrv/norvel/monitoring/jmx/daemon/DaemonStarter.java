package com.qrv.norvel.monitoring.jmx.daemon;

import com.qrv.norvel.monitoring.jmx.Clock;
import com.qrv.norvel.monitoring.jmx.EventLog;
import com.qrv.norvel.monitoring.jmx.target.TargetKind;
import com.qrv.norvel.monitoring.jmx.target.TargetStatus;
import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import java.util.ArrayDeque;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;

/** Starts the daemons of the configuration, each once for its process. One thread uses it. */
public final class DaemonStarter {
  /** So many daemons are started within an hour at most: targets may come and go in a loop. */
  static final int MAX_PER_HOUR = 100;

  /** So many started ones are remembered; process ids come round again some day. */
  private static final int MAX_REMEMBERED = 10_000;

  private static final long HOUR_MILLIS = 3_600_000;

  private final List<DaemonRule> rules;
  private final Daemons daemons;
  private final Clock clock;
  private final EventLog log;
  private final Set<String> started = new LinkedHashSet<>();
  private final ArrayDeque<Long> starts = new ArrayDeque<>();
  private boolean limitReported;

  public DaemonStarter(List<DaemonRule> rules, Daemons daemons, Clock clock, EventLog log) {
    this.rules = rules;
    this.daemons = daemons;
    this.clock = clock;
    this.log = log;
  }

  /** A target is there now, perhaps again. The agent itself is one. */
  public void present(TargetStatus target) {
    boolean isSelf = target.kind() == TargetKind.SELF;
    for (int i = 0; i < rules.size(); i++) {
      DaemonRule rule = rules.get(i);
      // Of a target on another machine there is nothing that a daemon here could work on.
      boolean wanted = rule.perTarget() ? target.kind() == TargetKind.LOCAL : isSelf;
      if (wanted && remember(rule.name() + ' ' + target.pid())) {
        start(rule, target);
      }
    }
  }

  private boolean remember(String key) {
    boolean isNew = started.add(key);
    if (started.size() > MAX_REMEMBERED) {
      started.remove(started.iterator().next());
    }
    return isNew;
  }

  private void start(DaemonRule rule, TargetStatus target) {
    String what = "daemon " + rule.name() + " for " + target.name();
    if (!mayStart()) {
      if (!limitReported) {
        limitReported = true;
        log.error(what + " is not started: " + MAX_PER_HOUR + " were started within an hour");
      }
      return;
    }
    try {
      DaemonCommand command = rule.command(Long.toString(target.pid()), target.name());
      daemons.start(command);
      log.info(what + " is started");
    } catch (IllegalArgumentException | IllegalStateException e) {
      log.error(what + " can't be started: " + e.getMessage());
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
}
