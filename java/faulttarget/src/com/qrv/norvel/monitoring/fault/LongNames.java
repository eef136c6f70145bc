package com.qrv.norvel.monitoring.fault;

import java.util.ArrayList;
import java.util.List;
import javax.management.JMException;
import javax.management.MBeanServer;
import javax.management.ObjectName;

/** The beans of the mode {@code names}: each time that they are looked for, there are others. */
final class LongNames {
  private static final String TAIL = "x".repeat(5000);

  private final MBeanServer server;
  private final List<ObjectName> registered = new ArrayList<>(); // guarded by this
  private long next; // guarded by this

  LongNames(MBeanServer server) {
    this.server = server;
  }

  /** @param wanted how many there are to be; {@link Setting#OFF} for none */
  synchronized void renew(long wanted) throws JMException {
    for (ObjectName name : registered) {
      server.unregisterMBean(name);
    }
    registered.clear();
    for (long i = 0; i < wanted; i++) {
      next++;
      ObjectName name = Names.of("java.nio:type=BufferPool,name=fault-" + next + TAIL);
      // A bean of another kind, so that each of the attributes that are asked for is missing.
      server.registerMBean(new Thrower(), name);
      registered.add(name);
    }
  }
}
