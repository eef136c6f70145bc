package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.bridge.ProcessNatives;
import java.util.HashMap;
import java.util.List;

/** Keeps the last daemon; one process exists. */
final class FakeNatives implements ProcessNatives {
  static final int LIVING = 4711;

  String command;
  HashMap<String, String> environment;
  List<String> paths;

  @Override
  public void spawn(
      String line,
      HashMap<String, String> changes,
      String directory,
      String stdout,
      String stderr) {
    command = line;
    environment = changes;
    paths = java.util.Arrays.asList(directory, stdout, stderr);
  }

  @Override
  public boolean exists(int pid) {
    return pid == LIVING;
  }
}
