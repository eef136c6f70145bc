package com.qrv.norvel.monitoring.fault;

import java.lang.reflect.Proxy;
import javax.management.MBeanServer;
import javax.management.MBeanServerBuilder;
import javax.management.MBeanServerDelegate;

/**
 * Makes the process's MBean server one with faults, so that they show in whatever way it is
 * reached. The JDK makes an instance itself, of the class that a system property names.
 */
public final class FaultyServerBuilder extends MBeanServerBuilder {
  private static volatile FaultSettings settings;

  /** For the JDK. */
  public FaultyServerBuilder() {}

  /** Makes all MBean servers that are created from now on obey the settings. */
  static void install(FaultSettings obeyed) {
    settings = obeyed;
    System.setProperty("javax.management.builder.initial", FaultyServerBuilder.class.getName());
  }

  @Override
  public MBeanServer newMBeanServer(
      String defaultDomain, MBeanServer outer, MBeanServerDelegate delegate) {
    MBeanServer sound = super.newMBeanServer(defaultDomain, outer, delegate);
    return faulty(sound, settings);
  }

  static MBeanServer faulty(MBeanServer sound, FaultSettings obeyed) {
    return (MBeanServer)
        Proxy.newProxyInstance(
            FaultyServerBuilder.class.getClassLoader(),
            new Class<?>[] {MBeanServer.class},
            new FaultyReads(sound, obeyed));
  }
}
