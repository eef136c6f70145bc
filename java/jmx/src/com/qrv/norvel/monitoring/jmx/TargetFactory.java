package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.discovery.LocalJvm;
import com.qrv.norvel.monitoring.jmx.discovery.LocalSearch;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;

/** Makes the targets, and what finds them; a seam for tests. */
interface TargetFactory {
  Clock clock();

  /** What looks for local JVMs, not started. */
  LocalSearch search(long intervalMillis);

  /** A target for a local JVM, not started; it wakes {@code targets} when it is first up. */
  MonitoredJvm local(LocalJvm jvm, String name, String mainClass, Targets targets);

  /** A target that the configuration names, not started. */
  MonitoredJvm remote(JmxConfig.Remote remote, Targets targets);

  /** All targets have been closed: what serves them ends with the last. */
  void close();
}
