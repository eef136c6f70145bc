package com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers;

/** Bound by the library at start; the measured application writes no trace. */
public final class RAS1Wrapper {
  private RAS1Wrapper() {}

  static native void rasTrace(
      int classes, String component, String sourceFile, String function, String message);
}
