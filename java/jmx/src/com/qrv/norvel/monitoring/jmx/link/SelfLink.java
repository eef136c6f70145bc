package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.table.SelfBeans;
import java.lang.management.GarbageCollectorMXBean;
import java.lang.management.ManagementFactory;
import java.util.LinkedHashSet;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.NotificationEmitter;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;

/** The JVM that this code runs in: there is no connection, and nothing to lose. */
public final class SelfLink implements Link {
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
  public Set<ObjectName> names(ObjectName pattern) {
    Set<ObjectName> names = new LinkedHashSet<>();
    for (GarbageCollectorMXBean bean : ManagementFactory.getGarbageCollectorMXBeans()) {
      if (pattern.apply(bean.getObjectName())) {
        names.add(bean.getObjectName());
      }
    }
    // Collectors are found without the server, which is expensive to build.
    return names.isEmpty() ? ManagementFactory.getPlatformMBeanServer().queryNames(pattern, null)
        : names;
  }

  @Override
  public void addListener(
      ObjectName bean, NotificationListener listener, NotificationFilter filter)
      throws JMException {
    NotificationEmitter collector = collector(bean);
    if (collector == null) {
      ManagementFactory.getPlatformMBeanServer()
          .addNotificationListener(bean, listener, filter, null);
    } else {
      collector.addNotificationListener(listener, filter, null);
    }
  }

  @Override
  public void removeListener(ObjectName bean, NotificationListener listener) throws JMException {
    NotificationEmitter collector = collector(bean);
    if (collector == null) {
      ManagementFactory.getPlatformMBeanServer().removeNotificationListener(bean, listener);
    } else {
      collector.removeNotificationListener(listener);
    }
  }

  private static NotificationEmitter collector(ObjectName name) {
    for (GarbageCollectorMXBean bean : ManagementFactory.getGarbageCollectorMXBeans()) {
      if (bean.getObjectName().equals(name) && bean instanceof NotificationEmitter emitter) {
        return emitter;
      }
    }
    return null;
  }

  @Override
  public void onLoss(LongConsumer told) {}

  @Override
  public void ping() {}

  @Override
  public void close() {}
}
