package com.qrv.norvel.monitoring.jmx.monitored;

/** Finds targets. Any thread may call. */
public interface TargetLookup {
  /** The target of that name, or null. */
  MonitoredJvm find(String name);
}
