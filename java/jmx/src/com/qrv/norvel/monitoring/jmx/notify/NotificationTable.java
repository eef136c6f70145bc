package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.ObjectName;

/** An event table, and the notifications that fill it. Any thread may call. */
interface NotificationTable {
  /** The columns after the subnode's name and the event's number are those of {@link #cells}. */
  TableDefinition definition();

  /** An object name, or the pattern, of the beans to listen to. */
  ObjectName beans();

  /** What is wanted of them; the other JVM knows its class. Null takes everything. */
  NotificationFilter filter();

  /**
   * The cells of one event: a Long, a String, or null for what is not known.
   *
   * @return null when this is no event of the table
   * @throws RuntimeException when it can't be read
   */
  Object[] cells(ObjectName bean, Notification notification);
}
