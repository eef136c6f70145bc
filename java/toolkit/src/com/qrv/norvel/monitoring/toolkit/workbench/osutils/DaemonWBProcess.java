package com.qrv.norvel.monitoring.toolkit.workbench.osutils;

import com.qrv.norvel.monitoring.toolkit.bridge.ProcessNatives;
import java.util.HashMap;

/** Starts and watches daemons. The native side finds the class and its natives by name. */
public final class DaemonWBProcess implements ProcessNatives {

  @Override
  public void spawn(
      String command,
      HashMap<String, String> environment,
      String directory,
      String stdout,
      String stderr) {
    runDaemon(command, environment, directory, stdout, stderr);
  }

  @Override
  public boolean exists(int pid) {
    return isRunning(pid);
  }

  private static native void runDaemon(
      String command,
      HashMap<String, String> environment,
      String directory,
      String stdout,
      String stderr);

  private static native boolean isRunning(long pid);
}
