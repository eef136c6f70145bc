package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import java.lang.management.ManagementFactory;
import java.util.List;
import javax.management.MBeanServerConnection;
import javax.management.ObjectName;
import javax.management.openmbean.CompositeData;

/** Has a target collect its garbage, and tells what that gave. */
final class CollectGarbage implements TargetAction {
  static final String WORD = "gc";

  @Override
  public String word() {
    return WORD;
  }

  @Override
  public String usage() {
    return WORD;
  }

  @Override
  public String description() {
    return "collects garbage";
  }

  @Override
  public TargetWork<String> work(List<String> arguments) {
    if (!arguments.isEmpty()) {
      throw new IllegalArgumentException("it takes no arguments");
    }
    return CollectGarbage::collect;
  }

  private static String collect(Link link) throws Exception {
    MBeanServerConnection server = link.server();
    ObjectName memory = new ObjectName(ManagementFactory.MEMORY_MXBEAN_NAME);
    long before = used(server, memory);
    server.invoke(memory, "gc", new Object[0], new String[0]);
    long after = used(server, memory);
    return "heap used: " + mebibytes(before) + " MiB before, " + mebibytes(after) + " MiB after";
  }

  private static long used(MBeanServerConnection server, ObjectName memory) throws Exception {
    CompositeData usage = (CompositeData) server.getAttribute(memory, "HeapMemoryUsage");
    return ((Long) usage.get("used")).longValue();
  }

  private static long mebibytes(long bytes) {
    return (bytes + (1 << 19)) >> 20;
  }
}
