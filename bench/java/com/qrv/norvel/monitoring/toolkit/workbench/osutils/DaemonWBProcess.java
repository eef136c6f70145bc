package com.qrv.norvel.monitoring.toolkit.workbench.osutils;

import java.util.HashMap;

/** Bound by the library at start; the measured application starts no daemons. */
public final class DaemonWBProcess {
  private DaemonWBProcess() {}

  static native void runDaemon(
      String command,
      HashMap<String, String> environment,
      String directory,
      String stdout,
      String stderr);

  static native boolean isRunning(long pid);
}
