package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.io.IOException;
import java.rmi.UnmarshalException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.Attribute;
import javax.management.AttributeNotFoundException;
import javax.management.InstanceNotFoundException;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;
import javax.management.remote.JMXConnectionNotification;
import javax.management.remote.JMXConnector;

/**
 * Reads the beans of another JVM: one call per bean and sample, whatever the number of attributes.
 * A broken attribute is reported once per connection.
 */
final class RmiLink implements Link {
  private final String target;
  private final JMXConnector connector;
  private final MBeanServerConnection server;
  private final FetchThread fetches;
  private final List<ObjectName> heard = new ArrayList<>(); // once for each listener
  private final OperatorLog log;
  private final LinkTimes times;
  private final Map<String, KnownBeans> knownBeans = new HashMap<>(); // by name or pattern
  private final Set<String> reported = new HashSet<>();
  private final Set<String> readOneByOne = new HashSet<>();
  private final TimeBudget budget;

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
    this.target = target;
    this.connector = connector;
    this.server = server;
    this.fetches = fetches;
    this.times = times;
    this.budget = TimeBudget.ofCall(times.clock(), times.callMillis());
    this.log = log;
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
        told.accept(count instanceof Number number ? Math.max(1, number.longValue()) : 1);
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
    budget.begin();
    KnownBeans known = known(reads);
    Object[][] rows = new Object[known.beans.length][];
    int found = 0;
    for (KnownBean bean : known.beans) {
      checkTime(reads.beans());
      try {
        rows[found] = readBean(bean, known);
        found++;
      } catch (InstanceNotFoundException e) {
        // It went away, so the next sample asks anew which there are.
        knownBeans.remove(reads.beans());
      }
    }
    return found == rows.length ? rows : Arrays.copyOf(rows, found);
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

  /** The connection is sound, so what takes too long costs the sample only. */
  private void checkTime(Object beans) {
    if (budget.isOver()) {
      throw new IllegalStateException(
          beans + " takes more than " + budget.millis()
              + " ms to read: it is too large or too slow");
    }
  }

  /** Beans come and go seldom, so they are not looked for each time. */
  private KnownBeans known(BeanReads reads) throws IOException {
    KnownBeans known = knownBeans.get(reads.beans());
    if (known != null && known.reads != reads) {
      known = null;
    }
    long now = times.clock().millis();
    if (known == null || known.isStale(now)) {
      known = new KnownBeans(find(reads.beans()), reads, known, now);
      knownBeans.put(reads.beans(), known);
    }
    return known;
  }

  private ObjectName[] find(String beans) throws IOException {
    ObjectName name = ObjectNames.of(beans);
    if (!name.isPattern()) {
      return new ObjectName[] {name};
    }
    ObjectName[] found = server.queryNames(name, null).toArray(new ObjectName[0]);
    Arrays.sort(found);
    return found;
  }

  private Object[] readBean(KnownBean bean, KnownBeans known)
      throws IOException, InstanceNotFoundException {
    long now = times.clock().millis();
    if (bean.isDue(now, times.seldomMillis())) {
      bean.keep(readBean(bean.name(), known.reads.attributes()), now);
      return bean.values();
    }
    if (known.isSeldom(bean)) {
      return bean.values();
    }
    return bean.with(readBean(bean.name(), known.often), known.oftenPlaces);
  }

  private Object[] readBean(ObjectName bean, String[] attributes)
      throws IOException, InstanceNotFoundException {
    Object[] values = new Object[attributes.length];
    if (!readOneByOne.contains(bean.getCanonicalName())) {
      try {
        fill(values, attributes, server.getAttributes(bean, attributes).asList());
      } catch (UnmarshalException e) {
        if (!ForeignClass.isCauseOf(e)) {
          throw e;
        }
        // One value of a class that is not accepted spoils the whole answer.
        readOneByOne.add(bean.getCanonicalName());
      } catch (InstanceNotFoundException e) {
        throw e;
      } catch (JMException e) {
        throw new IllegalStateException(bean + ": " + e, e);
      }
    }
    for (int i = 0; i < values.length; i++) {
      if (values[i] == null) {
        values[i] = readAlone(bean, attributes[i]);
      }
    }
    return values;
  }

  private static void fill(Object[] values, String[] attributes, List<Attribute> read) {
    for (Attribute attribute : read) {
      for (int i = 0; i < attributes.length; i++) {
        if (attributes[i].equals(attribute.getName())) {
          Object value = attribute.getValue();
          values[i] = value == null ? Unavailable.NOTHING : value;
        }
      }
    }
  }

  /**
   * Reads an attribute that the bulk read left out, to learn why; the second time that it is left
   * out, the reason is known and the call is spared.
   */
  private Object readAlone(ObjectName bean, String attribute)
      throws IOException, InstanceNotFoundException {
    String key = bean.getCanonicalName() + ' ' + attribute;
    boolean spoilt = readOneByOne.contains(bean.getCanonicalName());
    if (reported.contains(key)) {
      return Unavailable.NOTHING;
    }
    checkTime(bean);
    String reason;
    try {
      Object value = server.getAttribute(bean, attribute);
      return value == null ? Unavailable.NOTHING : value;
    } catch (InstanceNotFoundException e) {
      throw e;
    } catch (AttributeNotFoundException e) {
      Object other = substitute(bean, attribute);
      if (other != null) {
        return other;
      }
      reason = "it has no such attribute";
    } catch (UnmarshalException e) {
      if (!ForeignClass.isCauseOf(e)) {
        throw e;
      }
      reason = ForeignClass.reason(e);
    } catch (JMException | RuntimeException e) {
      Throwable cause = e.getCause() == null ? e : e.getCause();
      reason = cause.toString();
    }
    reported.add(key);
    log.error("target " + target + ": " + bean + " gives no " + attribute + ": " + reason
        + (spoilt ? "; its attributes are read one by one" : ""));
    return Unavailable.NOTHING;
  }

  /** Class libraries before 10 have no attribute {@code Pid}, but a name that begins with it. */
  private Object substitute(ObjectName bean, String attribute) throws IOException {
    if (!attribute.equals("Pid")) {
      return null;
    }
    try {
      String name = String.valueOf(server.getAttribute(bean, "Name"));
      int at = name.indexOf('@');
      return at > 0 ? Long.valueOf(name.substring(0, at)) : null;
    } catch (JMException | NumberFormatException e) {
      return null;
    }
  }
}
