package com.qrv.norvel.monitoring.jmx.monitored;

/** Looks at nothing. */
final class NoObserver implements TargetObserver {
  @Override
  public void up(MonitoredJvm target) {}

  @Override
  public void presenceChanged() {}
}
