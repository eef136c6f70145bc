package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;
import javax.management.remote.JMXConnectionNotification;
import javax.management.remote.JMXConnector;

/** A connection to another JVM over RMI. */
final class RmiLink implements Link {
  /** The other side makes up the number: more than that is no count any more. */
  private static final long MAX_LOSS = 1_000_000_000;

  private final JMXConnector connector;
  private final MBeanServerConnection server;
  private final FetchThread fetches;
  private final List<ObjectName> heard = new ArrayList<>(); // once for each listener
  private final BeanReader reader;

  /**
   * Takes an open connector.
   *
   * @param target names it in messages
   * @param fetches fetches the connector's notifications
   */
  RmiLink(
      String target,
      JMXConnector connector,
      MBeanServerConnection server,
      FetchThread fetches,
      LinkTimes times,
      OperatorLog log) {
    this.connector = connector;
    this.server = server;
    this.fetches = fetches;
    this.reader = new BeanReader(target, server, times, log);
  }

  @Override
  public Set<ObjectName> names(ObjectName pattern) throws IOException {
    return server.queryNames(pattern, null);
  }

  @Override
  public void addListener(
      ObjectName bean, NotificationListener listener, NotificationFilter filter)
      throws IOException, JMException {
    server.addNotificationListener(bean, listener, filter, null);
    heard.add(bean);
  }

  @Override
  public void removeListener(ObjectName bean, NotificationListener listener)
      throws IOException, JMException {
    heard.remove(bean);
    server.removeNotificationListener(bean, listener);
  }

  @Override
  public void onLoss(LongConsumer told) {
    connector.addConnectionNotificationListener(new LossListener(told), null, null);
  }

  /** Hears what the connector says it has lost, because the other side's buffer ran over. */
  private record LossListener(LongConsumer told) implements NotificationListener {
    @Override
    public void handleNotification(Notification notification, Object handback) {
      if (notification.getType().equals(JMXConnectionNotification.NOTIFS_LOST)) {
        Object count = notification.getUserData();
        told.accept(count instanceof Long number ? Math.min(MAX_LOSS, Math.max(1, number)) : 1);
      }
    }
  }

  @Override
  public void ping() throws IOException {
    checkFetches();
    server.getDefaultDomain();
  }

  @Override
  public void close() throws IOException {
    connector.close();
  }

  @Override
  public MBeanServerConnection server() {
    return server;
  }

  @Override
  public Object[][] read(String beans, String[] attributes) throws IOException {
    Rhythm[] rhythms = new Rhythm[attributes.length];
    Arrays.fill(rhythms, Rhythm.EACH_SAMPLE);
    return read(new BeanReads(beans, attributes, rhythms, null));
  }

  @Override
  public Object[][] read(BeanReads reads) throws IOException {
    checkFetches();
    return reader.read(reads);
  }

  /**
   * Whoever listens would wait in vain on a connection that fetches no more. It has every right to
   * when the beans that were listened to have gone.
   */
  private void checkFetches() throws IOException {
    if (heard.isEmpty() || !fetches.hasEnded()) {
      return;
    }
    for (ObjectName bean : heard) {
      if (server.isRegistered(bean)) {
        throw new IOException("its notifications can no longer be fetched");
      }
    }
    heard.clear();
  }
}
