package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.discovery.LocalDiscovery;
import com.qrv.norvel.monitoring.jmx.discovery.LocalJvm;
import com.qrv.norvel.monitoring.jmx.discovery.LocalListener;
import com.qrv.norvel.monitoring.jmx.discovery.Patterns;
import com.qrv.norvel.monitoring.jmx.discovery.LocalSearch;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetObserver;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.web.TargetBoard;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.Subnodes;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;

/**
 * The book of all targets. A thread of its own looks for local JVMs and, alone, registers and
 * deregisters subnodes, so that these keep their order; the samplers look targets up.
 */
final class Targets implements LocalListener, TargetBoard, TargetObserver, Runnable {
  /** How often new beans are looked for that somebody wants to listen to. */
  private static final long LISTENING_MILLIS = 60_000;

  private final JmxConfig config;
  private final TargetFactory factory;
  private final Subnodes subnodes;
  private final BeanNotifications notifications;
  private final DaemonStarter daemons; // the thread's alone
  private final OperatorLog log;
  private final SelfJvm self;

  private final Map<String, MonitoredJvm> jvms = new LinkedHashMap<>(); // guarded by jvms
  private final Set<String> registered = new HashSet<>(); // the thread's alone, once it runs
  private final Map<String, Long> starts = new HashMap<>(); // of processes; the thread's alone
  private final Set<String> refused = new HashSet<>(); // the thread's alone

  private String searchFailure = ""; // the thread's alone, as what follows
  private String turnFailure = "";
  private long nextListening;

  private LocalSearch search; // guarded by this; null unless local JVMs are searched for
  private List<LocalJvm> found; // guarded by this; null when nobody has searched since
  private boolean woken; // guarded by this
  private boolean closed; // guarded by this

  Targets(
      JmxConfig config,
      SelfJvm self,
      TargetFactory factory,
      Subnodes subnodes,
      DaemonStarter daemons,
      BeanNotifications notifications,
      OperatorLog log) {
    this.config = config;
    this.self = self;
    this.factory = factory;
    this.subnodes = subnodes;
    this.daemons = daemons;
    this.notifications = notifications;
    this.log = log;
    jvms.put(SelfJvm.NAME, self);
  }

  /** Shows this JVM at once, and all others as they are found. */
  void start() {
    register(self);
    notifications.up(self);
    Thread thread = new Thread(null, this, "jmx-targets");
    thread.setDaemon(true);
    thread.start();
  }

  /** Ends all threads, in their own time. */
  void close() {
    synchronized (this) {
      closed = true;
      if (search != null) {
        search.close();
      }
      notifyAll();
    }
    for (MonitoredJvm jvm : all()) {
      jvm.close();
    }
    factory.close();
  }

  @Override
  public MonitoredJvm find(String name) {
    synchronized (jvms) {
      return jvms.get(name);
    }
  }

  @Override
  public List<TargetStatus> statuses() {
    List<TargetStatus> statuses = new ArrayList<>();
    for (MonitoredJvm jvm : all()) {
      statuses.add(jvm.status());
    }
    return statuses;
  }

  @Override
  public void up(MonitoredJvm target) {
    // Under the lock: a target that vanishes meanwhile is forgotten thereafter, not before.
    synchronized (jvms) {
      if (jvms.get(target.name()) == target) {
        notifications.up(target);
      }
    }
  }

  @Override
  public synchronized void presenceChanged() {
    woken = true;
    notifyAll();
  }

  @Override
  public void run() {
    for (JmxConfig.Remote remote : config.remote()) {
      addRemote(remote);
    }
    Patterns patterns = new Patterns(config.local().include(), config.local().exclude());
    LocalDiscovery discovery = new LocalDiscovery(patterns, this);
    nextListening = factory.clock().millis() + LISTENING_MILLIS;
    try {
      do {
        turn(discovery);
      } while (awaitChange());
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  /** Nothing ends it: the next turn may do better, when there is memory again say. */
  private void turn(LocalDiscovery discovery) {
    try {
      followSearch(discovery);
      long now = factory.clock().millis();
      if (now >= nextListening) {
        nextListening = now + LISTENING_MILLIS;
        notifications.run();
      }
      followPresence();
      daemons.run();
      turnFailure = "";
    } catch (RuntimeException | Error e) {
      turnFailure = reported("the book of targets is not up to date: ", e, turnFailure);
    }
  }

  /** What goes wrong here is no matter of the configured JVMs. */
  private void followSearch(LocalDiscovery discovery) {
    try {
      startSearch();
      List<LocalJvm> present = takeFound();
      if (present != null) {
        discovery.compare(present);
      }
      searchFailure = "";
    } catch (RuntimeException | Error e) {
      // The known targets stay.
      searchFailure = reported("the local JVMs are not up to date: ", e, searchFailure);
    }
  }

  private synchronized void startSearch() {
    if (search == null && config.local().enabled() && !closed) {
      LocalSearch made = factory.search(config.local().intervalMillis());
      made.start(this::found);
      search = made;
    }
  }

  private synchronized void found(List<LocalJvm> present) {
    found = present;
    woken = true;
    notifyAll();
  }

  private synchronized List<LocalJvm> takeFound() {
    List<LocalJvm> taken = found;
    found = null;
    return taken;
  }

  /** Logs what is not the same as last time, and returns it. */
  private String reported(String what, Throwable failure, String last) {
    try {
      String text = what + failure;
      if (!text.equals(last)) {
        log.error(text);
      }
      return text;
    } catch (RuntimeException | Error e) {
      // There is not even memory to tell of it; the next time there may be.
      return "";
    }
  }

  /** Waits until something has changed or is due; false when all is over. */
  private synchronized boolean awaitChange() throws InterruptedException {
    while (!closed && !woken) {
      long pause = nextListening - factory.clock().millis();
      if (pause <= 0) {
        break;
      }
      wait(pause);
    }
    woken = false;
    return !closed;
  }

  @Override
  public boolean appeared(LocalJvm jvm, String name, String mainClass) {
    String reason = null;
    synchronized (jvms) {
      if (jvms.size() > config.maxTargets()) {
        reason = "there are max_targets (" + config.maxTargets() + ") already";
      } else if (jvms.containsKey(name)) {
        reason = "its name is taken";
      }
    }
    if (reason == null) {
      refused.remove(name);
      starts.put(name, jvm.process().startTicks());
      add(factory.local(jvm, name, mainClass, this));
    } else if (refused.size() < config.maxTargets() && refused.add(name)) {
      log.error("the local JVM " + name + " is not monitored: " + reason);
    }
    return reason == null;
  }

  @Override
  public void vanished(String name) {
    MonitoredJvm jvm;
    synchronized (jvms) {
      jvm = jvms.remove(name);
    }
    if (jvm != null) {
      jvm.close();
      notifications.forget(jvm);
      log.info("the local JVM " + name + " has ended");
    }
    starts.remove(name);
    daemons.vanished(name);
    if (registered.remove(name)) {
      subnodes.deregister(name);
    }
  }

  @Override
  public void resumed(String name) {
    MonitoredJvm jvm = find(name);
    if (jvm != null) {
      jvm.retryNow();
    }
  }

  private void addRemote(JmxConfig.Remote remote) {
    try {
      add(factory.remote(remote, this));
    } catch (RuntimeException | Error e) {
      reported("the remote JVM " + remote.name() + " can't be monitored: ", e, "");
    }
  }

  private void add(MonitoredJvm jvm) {
    synchronized (jvms) {
      jvms.put(jvm.name(), jvm);
    }
    jvm.start();
  }

  private void followPresence() {
    for (MonitoredJvm jvm : all()) {
      boolean isPresent = jvm.isPresent();
      if (isPresent && !registered.contains(jvm.name())) {
        register(jvm);
      } else if (!isPresent && registered.remove(jvm.name())) {
        subnodes.deregister(jvm.name());
      }
    }
  }

  private void register(MonitoredJvm jvm) {
    TargetStatus status = jvm.status();
    String pid = status.pid() == TargetStatus.UNKNOWN ? "" : Long.toString(status.pid());
    subnodes.register(new Subnode(jvm.name(), "JVM", status.kind().text(), pid));
    registered.add(jvm.name());
    daemons.present(status, starts.getOrDefault(jvm.name(), 0L));
  }

  private List<MonitoredJvm> all() {
    synchronized (jvms) {
      return new ArrayList<>(jvms.values());
    }
  }
}
