package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.table.SelfBeans;
import java.lang.management.ManagementFactory;
import javax.management.MBeanServerConnection;

/** The JVM that this code runs in: there is no connection, and nothing to lose. */
final class SelfLink implements Link {
  private final SelfBeans beans = new SelfBeans();

  @Override
  public Object[][] read(String names, String[] attributes) {
    return beans.read(names, attributes);
  }

  /** Takes a while the first time; {@link #read} does without it. */
  @Override
  public MBeanServerConnection server() {
    return ManagementFactory.getPlatformMBeanServer();
  }

  @Override
  public void ping() {}

  @Override
  public void close() {}
}
