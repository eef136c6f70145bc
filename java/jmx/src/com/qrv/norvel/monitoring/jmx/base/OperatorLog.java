package com.qrv.norvel.monitoring.jmx.base;

/**
 * Where the application's own events go, one line each. Any thread may call it. Callers never pass
 * a password.
 */
public interface OperatorLog {
  /** Something an operator may want to look up later. */
  void info(String text);

  /** Something that is wrong and that somebody should hear of. */
  void error(String text);
}
