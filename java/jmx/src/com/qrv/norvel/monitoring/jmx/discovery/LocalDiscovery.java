package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.HashMap;
import java.util.Iterator;
import java.util.List;
import java.util.Map;

/** Compares the JVMs of this machine with those of the last search. Used by one thread. */
public final class LocalDiscovery {
  private final Patterns patterns;
  private final LocalListener listener;
  private final Map<Long, Known> known = new HashMap<>(); // by pid

  public LocalDiscovery(Patterns patterns, LocalListener listener) {
    this.patterns = patterns;
    this.listener = listener;
  }

  /** Tells the listener what is different now. */
  public void compare(List<LocalJvm> present) {
    forgetVanished(present);
    for (LocalJvm jvm : present) {
      Known entry = known.get(jvm.pid());
      if (entry == null) {
        entry = new Known(jvm);
        known.put(jvm.pid(), entry);
      }
      update(entry, jvm);
    }
  }

  private void forgetVanished(List<LocalJvm> present) {
    Map<Long, LocalJvm> byPid = new HashMap<>();
    for (LocalJvm jvm : present) {
      byPid.put(jvm.pid(), jvm);
    }
    Iterator<Known> entries = known.values().iterator();
    while (entries.hasNext()) {
      Known entry = entries.next();
      LocalJvm now = byPid.get(entry.jvm.pid());
      if (now == null || !now.isSameAs(entry.jvm)) {
        entries.remove();
        if (entry.name != null) {
          listener.vanished(entry.name);
        }
      }
    }
  }

  private void update(Known entry, LocalJvm jvm) {
    boolean resumed = entry.jvm.isStopped() && !jvm.isStopped();
    entry.jvm = jvm;
    if (entry.name != null) {
      if (resumed) {
        listener.resumed(entry.name);
      }
      return;
    }
    if (entry.refused || jvm.isStopped()) {
      return;
    }
    String mainClass = MainClass.of(jvm.command());
    if (!patterns.accept(mainClass)) {
      entry.refused = true;
      return;
    }
    String name = MainClass.subnodeName(mainClass, jvm.pid());
    if (listener.appeared(jvm, name, mainClass)) {
      entry.name = name;
    }
  }

  /** A JVM that the last search found. */
  private static final class Known {
    private LocalJvm jvm;
    private String name; // null while it is not monitored
    private boolean refused;

    Known(LocalJvm jvm) {
      this.jvm = jvm;
    }
  }
}
