package com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers;

/** The native trace. */
public final class RAS1Wrapper {
  private RAS1Wrapper() {}

  public static native void rasTrace(
      int level, String component, String sourceFile, String function, String message);
}
