package com.qrv.norvel.monitoring.jmx.discovery;

/** Hears what {@link LocalDiscovery} finds, on the thread that compares. */
public interface LocalListener {
  /**
   * A JVM to monitor has appeared.
   *
   * @param name the subnode's name for it
   * @param mainClass its main class or jar; empty when that is not known
   * @return false when it can't be monitored now; the next search offers it again
   */
  boolean appeared(LocalJvm jvm, String name, String mainClass);

  /** It has ended. */
  void vanished(String name);

  /** It runs again after it was stopped. */
  void resumed(String name);
}
