package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.Iterator;
import java.util.List;
import java.util.Map;

/** Compares the JVMs of this machine with those of the last look. Used by one thread. */
public final class LocalDiscovery {
  /**
   * A JVM publishes that it exists a little before it publishes what it runs. One that still has
   * not after so many looks does not allow to be attached to.
   */
  private static final int MAX_LOOKS = 3;

  private final ProcessTable processes;
  private final Patterns patterns;
  private final LocalListener listener;
  private final Map<Long, Known> known = new HashMap<>();
  private Map<Long, String> commands; // of this scan; null until somebody asks

  public LocalDiscovery(ProcessTable processes, Patterns patterns, LocalListener listener) {
    this.processes = processes;
    this.patterns = patterns;
    this.listener = listener;
  }

  /** Looks once, and tells the listener what is different. */
  public void scan() {
    List<LocalProcess> present = new ArrayList<>();
    for (long pid : processes.pids()) {
      LocalProcess process = processes.look(pid);
      if (process != null) {
        present.add(process);
      }
    }
    forgetVanished(present);
    commands = null;
    for (LocalProcess process : present) {
      Known entry = known.get(process.pid());
      if (entry == null) {
        entry = new Known(process);
        known.put(process.pid(), entry);
      }
      update(entry, process);
    }
  }

  private void forgetVanished(List<LocalProcess> present) {
    Iterator<Known> entries = known.values().iterator();
    while (entries.hasNext()) {
      Known entry = entries.next();
      boolean found = false;
      for (LocalProcess process : present) {
        found |= process.isSameAs(entry.process);
      }
      if (!found) {
        entries.remove();
        if (entry.name != null) {
          listener.vanished(entry.name);
        }
      }
    }
  }

  private void update(Known entry, LocalProcess process) {
    boolean resumed = entry.process.isStopped() && !process.isStopped();
    entry.process = process;
    if (entry.name != null) {
      if (resumed) {
        listener.resumed(entry.name);
      }
      return;
    }
    if (entry.refused || !process.isAttachable()) {
      return;
    }
    if (commands == null) {
      commands = processes.commands();
    }
    String command = commands.get(process.pid());
    entry.looks++;
    if (command == null) {
      entry.refused = entry.looks >= MAX_LOOKS;
      return;
    }
    String mainClass = MainClass.of(command);
    if (!patterns.accept(mainClass)) {
      entry.refused = true;
      return;
    }
    String name = MainClass.subnodeName(mainClass, process.pid());
    if (listener.appeared(process, name, mainClass)) {
      entry.name = name;
    }
  }

  /** A process that the last look saw. */
  private static final class Known {
    private LocalProcess process;
    private String name; // null while it is not monitored
    private boolean refused;
    private int looks;

    Known(LocalProcess process) {
      this.process = process;
    }
  }
}
