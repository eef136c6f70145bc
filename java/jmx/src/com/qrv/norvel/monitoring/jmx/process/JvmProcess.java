package com.qrv.norvel.monitoring.jmx.process;

/**
 * A process that runs a JVM which may be monitored.
 *
 * @param startTicks when it started; pids are used again, and both together name it for good
 * @param uid its effective user
 * @param innerPid the pid that the JVM itself knows: another one when it runs in a container
 * @param perfDirectory the directory below its {@code /tmp} in which it publishes itself
 */
public record JvmProcess(
    long pid, long startTicks, int uid, long innerPid, String perfDirectory) {
  /** Whether both are the same process, not only the same pid. */
  public boolean isSameAs(JvmProcess other) {
    return pid == other.pid && startTicks == other.startTicks;
  }
}
