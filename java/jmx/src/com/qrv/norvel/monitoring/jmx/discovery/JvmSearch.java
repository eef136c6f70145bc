package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.List;

/** Finds the JVMs of this machine that may be monitored. Used by one thread. */
public interface JvmSearch {
  /** All that are there now, but for this one. */
  List<LocalJvm> search() throws InterruptedException;
}
