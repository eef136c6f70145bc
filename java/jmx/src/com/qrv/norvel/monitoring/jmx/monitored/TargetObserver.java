package com.qrv.norvel.monitoring.jmx.monitored;

/** Is told of a target's life, on the target's thread, which it must not hold up. */
public interface TargetObserver {
  /** The target has been reached, or reached again. */
  void up(MonitoredJvm target);

  /** {@link MonitoredJvm#isPresent} has changed. */
  void presenceChanged();
}
