package com.qrv.norvel.monitoring.toolkit.bridge;

import java.util.HashMap;

/** What the native side does for daemons. */
public interface ProcessNatives {

  /**
   * Starts a daemon; failures are only traced.
   *
   * @param command the words, split at blanks and tabs
   * @param environment changes to the environment, a null value unsets; may be null
   * @param directory working directory, may be null
   * @param stdout file to append to, may be null
   * @param stderr file to append to, may be null
   * @throws UnsatisfiedLinkError without a native side
   */
  void spawn(
      String command,
      HashMap<String, String> environment,
      String directory,
      String stdout,
      String stderr);

  /**
   * Whether a process exists.
   *
   * @throws UnsatisfiedLinkError without a native side
   */
  boolean exists(int pid);
}
