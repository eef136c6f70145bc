package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Starts programs that outlive the agent. Any thread may call.
 *
 * <p>A daemon gets a session of its own, no descriptor of the agent but its three standard streams,
 * and default signal handling.
 */
public interface Daemons {

  /**
   * Starts a daemon. Returns when it has been forked; whether the program could be run is not
   * known here: a failure is found in the agent's trace or in the daemon's error file. A daemon
   * that must be watched writes its process id to a file.
   *
   * @throws IllegalArgumentException when the environment would have too many entries
   * @throws IllegalStateException when the agent's native side is absent
   */
  void start(DaemonCommand command);

  /**
   * Whether a process of this id exists, whoever owns it.
   *
   * @param pid 1 to 2147483647; any other number is no process
   * @throws IllegalStateException when the agent's native side is absent
   */
  boolean isRunning(long pid);
}
