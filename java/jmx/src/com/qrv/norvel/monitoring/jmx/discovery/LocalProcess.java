package com.qrv.norvel.monitoring.jmx.discovery;

/**
 * A process that runs a JVM.
 *
 * @param startTicks when it started; with the pid it names the process for good, because pids are
 *     used again
 * @param catchesQuit whether it is seen to be a JVM that has a handler for QUIT; without one an
 *     attempt to attach ends it
 * @param isStopped whether it has been stopped by a signal or a debugger
 * @param isOurs whether this process may attach to it and reach its ports: same user (or we are
 *     root) and same network
 */
public record LocalProcess(
    long pid, long startTicks, boolean catchesQuit, boolean isStopped, boolean isOurs) {
  /** Whether attaching is safe and can succeed now. */
  public boolean isAttachable() {
    return catchesQuit && !isStopped && isOurs;
  }

  /** Whether both are the same process, not only the same pid. */
  public boolean isSameAs(LocalProcess other) {
    return pid == other.pid && startTicks == other.startTicks;
  }
}
