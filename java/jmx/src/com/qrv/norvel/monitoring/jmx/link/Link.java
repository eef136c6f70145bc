package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.table.BeanSource;
import java.io.IOException;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;

/** An open connection to a JVM. Used by its target's thread alone. */
public interface Link extends BeanSource {
  /** Asks for a sign of life. */
  void ping() throws IOException;

  /** Says goodbye; may take as long as any call. A link that failed is dropped without it. */
  void close() throws IOException;

  /** The beans, for work that {@link #read} does not do. */
  MBeanServerConnection server();

  /** The beans that fit a name or pattern. */
  Set<ObjectName> names(ObjectName pattern) throws IOException;

  /** Has a listener told of a bean's notifications, on any thread; a null filter takes all. */
  void addListener(ObjectName bean, NotificationListener listener, NotificationFilter filter)
      throws IOException, JMException;

  /** Takes a listener back. */
  void removeListener(ObjectName bean, NotificationListener listener)
      throws IOException, JMException;

  /**
   * Has somebody told, on any thread, how many notifications were lost on their way. Before the
   * first listener is added.
   */
  void onLoss(LongConsumer told);
}
