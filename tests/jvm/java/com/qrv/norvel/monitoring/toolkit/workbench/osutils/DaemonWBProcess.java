package com.qrv.norvel.monitoring.toolkit.workbench.osutils;

import java.util.HashMap;

/** Daemons of the native side. */
public final class DaemonWBProcess {
  private DaemonWBProcess() {}

  public static native void runDaemon(
      String command, HashMap<String, String> environment, String dir, String out, String err);

  public static native boolean isRunning(long pid);
}
