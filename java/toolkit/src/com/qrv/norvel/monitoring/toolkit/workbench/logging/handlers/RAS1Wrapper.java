package com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers;

/** Writes into the agent's trace. The native side finds the class and its native by name. */
public final class RAS1Wrapper {
  /** Classes of trace records; a record is written when all of its classes are on. */
  public static final int ERROR = 0x80;

  public static final int FLOW = 0x40;
  public static final int STATE = 0x08;
  public static final int DETAIL = 0x01;

  /** No class: written always. */
  public static final int ALWAYS = 0;

  // Set once, by the first record of a process without the native side: a test, say.
  private static volatile boolean nativeAbsent;

  private RAS1Wrapper() {}

  /** Writes one record; without a native side, to standard error. Any thread; throws nothing. */
  public static void write(
      int classes, String component, String sourceFile, String function, String message) {
    if (!nativeAbsent) {
      try {
        rasTrace(classes, component, sourceFile, function, message);
        return;
      } catch (UnsatisfiedLinkError absent) {
        nativeAbsent = true;
      }
    }
    if (classes == ALWAYS || (classes & ERROR) != 0) {
      System.err.println(component + " " + sourceFile + " " + function + " " + message);
    }
  }

  private static native void rasTrace(
      int classes, String component, String sourceFile, String function, String message);
}
