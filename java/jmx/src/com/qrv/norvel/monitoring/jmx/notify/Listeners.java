package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.EventLog;
import com.qrv.norvel.monitoring.jmx.target.Link;
import com.qrv.norvel.monitoring.jmx.target.TargetWork;
import java.io.IOException;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.management.InstanceNotFoundException;
import javax.management.JMException;
import javax.management.ListenerNotFoundException;
import javax.management.MalformedObjectNameException;
import javax.management.Notification;
import javax.management.NotificationListener;
import javax.management.ObjectName;

/**
 * The listeners at one target. Its work brings them in line with what is wanted: cheap when nothing
 * has changed. Only the target's thread runs it; notifications come on any thread.
 */
final class Listeners implements TargetWork<Object> {
  /** Beans of one table at one target that are listened to; the rest is reported. */
  static final int MAX_BEANS = 100;

  private final String subnode;
  private final List<WatchedTable> tables;
  private final EventLog log;
  private final Map<WatchedTable, Map<ObjectName, NotificationListener>> added =
      new LinkedHashMap<>();
  private Link link;

  /** @param tables what may be wanted */
  Listeners(String subnode, List<WatchedTable> tables, EventLog log) {
    this.subnode = subnode;
    this.tables = tables;
    this.log = log;
  }

  @Override
  public Object on(Link current) throws IOException, JMException {
    if (current != link) {
      forgetLost();
      link = current;
    }
    for (WatchedTable table : tables) {
      if (table.isWanted()) {
        add(table);
      } else {
        remove(table);
      }
    }
    return null;
  }

  /** The listeners went with the connection: what happened until now was heard by nobody. */
  private void forgetLost() {
    for (Map.Entry<WatchedTable, Map<ObjectName, NotificationListener>> each : added.entrySet()) {
      if (!each.getValue().isEmpty() && each.getKey().isWanted()) {
        each.getKey().missed(subnode, 1);
      }
    }
    added.clear();
  }

  private void add(WatchedTable table) throws IOException, JMException {
    Map<ObjectName, NotificationListener> listeners = of(table);
    // What is not there any more has taken its listeners along.
    var present = link.names(table.source().beans());
    listeners.keySet().retainAll(present);
    for (ObjectName bean : present) {
      if (listeners.containsKey(bean)) {
        continue;
      }
      if (listeners.size() >= MAX_BEANS) {
        table.reportOnce(
            subnode, "more than " + MAX_BEANS + " MBeans match; the rest is not listened to");
        return;
      }
      NotificationListener listener = new Heard(table, bean, link);
      try {
        link.addListener(bean, listener, table.source().filter());
        listeners.put(bean, listener);
      } catch (InstanceNotFoundException e) {
        // It went away meanwhile.
      } catch (RuntimeException e) {
        table.reportOnce(subnode, bean + " can't be listened to: " + e);
      }
    }
  }

  private void remove(WatchedTable table) throws IOException, JMException {
    Map<ObjectName, NotificationListener> listeners = of(table);
    for (Map.Entry<ObjectName, NotificationListener> each : listeners.entrySet()) {
      try {
        link.removeListener(each.getKey(), each.getValue());
      } catch (InstanceNotFoundException | ListenerNotFoundException e) {
        log.info("target " + subnode + ": " + each.getKey() + " has gone with its listener");
      }
    }
    listeners.clear();
  }

  private Map<ObjectName, NotificationListener> of(WatchedTable table) {
    return added.computeIfAbsent(table, key -> new LinkedHashMap<>());
  }

  /** The name or pattern of a text that has been checked. */
  static ObjectName objectName(String text) {
    try {
      return new ObjectName(text);
    } catch (MalformedObjectNameException e) {
      throw new IllegalArgumentException(text + " is no object name", e);
    }
  }

  /** What is heard of one bean, on a thread of the connection, which must not be held up. */
  private final class Heard implements NotificationListener {
    private final WatchedTable table;
    private final ObjectName bean;
    private final Link source;

    Heard(WatchedTable table, ObjectName bean, Link source) {
      this.table = table;
      this.bean = bean;
      this.source = source;
    }

    @Override
    public void handleNotification(Notification notification, Object handback) {
      long lost = source.takeLostNotifications();
      if (lost > 0) {
        table.missed(subnode, lost);
      }
      table.heard(subnode, bean, notification);
    }
  }
}
