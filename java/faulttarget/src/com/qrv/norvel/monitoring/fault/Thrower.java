package com.qrv.norvel.monitoring.fault;

import javax.management.ObjectName;

/** The bean of the mode {@code throw}. */
public final class Thrower implements ThrowerMBean {
  static final ObjectName NAME = Names.of("zel.fault:type=Thrower");

  @Override
  public String getRuntime() {
    return Victim.RUNTIME.value().toString();
  }

  @Override
  public String getUnsupported() {
    return Victim.UNSUPPORTED.value().toString();
  }

  @Override
  public String getError() {
    return Victim.ERROR.value().toString();
  }

  @Override
  public Object getForeign() {
    return Victim.FOREIGN.value();
  }

  @Override
  public String getGood() {
    return "good";
  }
}
