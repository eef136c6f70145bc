package com.qrv.norvel.monitoring.jmx.discovery;

import com.qrv.norvel.monitoring.jmx.process.JvmProcess;

/**
 * A JVM that a search has found.
 *
 * @param command its main class or jar, with arguments; empty when it publishes none
 * @param isStopped whether it has been stopped by a signal or a debugger
 */
public record LocalJvm(JvmProcess process, String command, boolean isStopped) {
  public long pid() {
    return process.pid();
  }

  boolean isSameAs(LocalJvm other) {
    return process.isSameAs(other.process);
  }
}
