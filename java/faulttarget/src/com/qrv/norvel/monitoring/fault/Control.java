package com.qrv.norvel.monitoring.fault;

import javax.management.ObjectName;

/** The faults as an MBean. */
public final class Control implements ControlMBean {
  static final ObjectName NAME = Names.of("zel.fault:type=Control");

  private final FaultSettings settings;

  Control(FaultSettings settings) {
    this.settings = settings;
  }

  @Override
  public String getStatus() {
    return settings.status();
  }

  @Override
  public String apply(String command) {
    try {
      return settings.command(command);
    } catch (UsageException e) {
      throw new IllegalArgumentException(e.getMessage(), e);
    }
  }
}
