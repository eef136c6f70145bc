package com.qrv.norvel.monitoring.fault;

import javax.management.JMException;
import javax.management.MBeanServer;

/** As many beans of one kind as are wished for. Not thread-safe. */
final class Fillers {
  private final MBeanServer server;
  private final String prefix;
  private int count;

  /** @param prefix of the object names, to which the bean's name is added */
  Fillers(MBeanServer server, String prefix) {
    this.server = server;
    this.prefix = prefix;
  }

  void become(long wanted) {
    try {
      while (count < wanted) {
        server.registerMBean(new Filler(count + 1), Names.of(prefix + Filler.name(count + 1)));
        count++;
      }
      while (count > Math.max(0, wanted)) {
        server.unregisterMBean(Names.of(prefix + Filler.name(count)));
        count--;
      }
    } catch (JMException e) {
      throw new IllegalStateException("bean " + (count + 1) + " of " + prefix + ": " + e, e);
    }
  }
}
