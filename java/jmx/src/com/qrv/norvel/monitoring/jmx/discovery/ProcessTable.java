package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.List;
import java.util.Map;

/** The processes of this machine, as far as they run JVMs. */
public interface ProcessTable {
  /** The pids of all JVMs that can be seen, but for this one; some may be gone already. */
  List<Long> pids();

  /** What is known of a process now, or null when it is gone or hidden from us. */
  LocalProcess look(long pid);

  /**
   * The main class or jar, with arguments, of each JVM that can be attached to, by pid. It is empty
   * when the JVM publishes none; one that has not published anything yet is absent. This reads
   * every JVM's data, so ask only when there is a new one.
   */
  Map<Long, String> commands();
}
