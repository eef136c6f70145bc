package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import com.qrv.norvel.monitoring.toolkit.bridge.ProcessNatives;
import java.util.HashMap;
import java.util.Iterator;
import java.util.List;
import java.util.Map;

/** Daemons by the native side's means. */
final class RunningDaemons implements Daemons {
  /** The native side drops what comes after so many entries, without a word. */
  static final int MAX_ENVIRONMENT = 1023;

  private final ProcessNatives natives;
  private final Map<String, String> inherited;

  /**
   * @param inherited the environment of this process, or null to ask the system when needed
   */
  RunningDaemons(ProcessNatives natives, Map<String, String> inherited) {
    this.natives = natives;
    this.inherited = inherited;
  }

  @Override
  public void start(DaemonCommand command) {
    HashMap<String, String> changes = new HashMap<String, String>(command.environment());
    checkEnvironment(command, changes);
    try {
      natives.spawn(
          line(command.words()), changes, command.directory(), command.stdout(), command.stderr());
    } catch (UnsatisfiedLinkError absent) {
      throw new IllegalStateException("daemons need the native side of the agent", absent);
    }
  }

  @Override
  public boolean isRunning(long pid) {
    // 0 and negative numbers mean groups of processes to the system.
    if (pid < 1 || pid > Integer.MAX_VALUE) {
      return false;
    }
    try {
      return natives.exists((int) pid);
    } catch (UnsatisfiedLinkError absent) {
      throw new IllegalStateException("daemons need the native side of the agent", absent);
    }
  }

  private void checkEnvironment(DaemonCommand command, HashMap<String, String> changes) {
    if (changes.isEmpty()) {
      return; // The agent's environment goes over as a whole.
    }
    int entries = 0;
    Iterator<String> values = changes.values().iterator();
    while (values.hasNext()) {
      entries += values.next() == null ? 0 : 1;
    }
    Map<String, String> before = inherited == null ? System.getenv() : inherited;
    Iterator<String> names = before.keySet().iterator();
    while (names.hasNext()) {
      entries += changes.containsKey(names.next()) ? 0 : 1;
    }
    if (entries > MAX_ENVIRONMENT) {
      throw new IllegalArgumentException(
          "daemon "
              + command.words().get(0)
              + ": "
              + entries
              + " variables in its environment, more than "
              + MAX_ENVIRONMENT);
    }
  }

  private static String line(List<String> words) {
    StringBuilder line = new StringBuilder();
    for (int i = 0; i < words.size(); i++) {
      line.append(i == 0 ? "" : " ").append(words.get(i));
    }
    return line.toString();
  }
}
