package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.base.Shown;
import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.KeptValue;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.io.IOException;
import java.rmi.UnmarshalException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import javax.management.Attribute;
import javax.management.AttributeNotFoundException;
import javax.management.InstanceNotFoundException;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.ObjectName;

/**
 * Reads the beans of tables over one connection: one call per bean and sample, whatever the number
 * of attributes.
 *
 * <p>What goes wrong costs as little as it can: an attribute its cell, a bean its row, and a table
 * that takes too long the rows that are left. Nothing is given up for good: see {@link KnownBean}.
 * Only a table of which nothing can be read fails. A broken attribute is reported when it breaks.
 *
 * <p>The target's thread alone.
 */
final class BeanReader {
  /** Beans of one table; more are reported and not read. */
  static final int MAX_BEANS = 5000;

  /** Attributes of one table that are read by themselves for one sample; the rest waits. */
  static final int MAX_ALONE = 64;

  private final String target;
  private final MBeanServerConnection server;
  private final LinkTimes times;
  private final OperatorLog log;
  private final Map<String, KnownBeans> knownBeans = new HashMap<>(); // by name or pattern
  private final TimeBudget budget;
  private int aloneLeft;

  /** @param target names it in messages */
  BeanReader(String target, MBeanServerConnection server, LinkTimes times, OperatorLog log) {
    this.target = target;
    this.server = server;
    this.times = times;
    this.log = log;
    this.budget = TimeBudget.ofCall(times.clock(), times.callMillis());
  }

  /** @throws IllegalStateException when nothing could be read, though the connection is sound */
  Object[][] read(BeanReads reads) throws IOException {
    budget.begin();
    aloneLeft = MAX_ALONE;
    KnownBeans known = known(reads);
    Object[][] rows = new Object[known.beans.length][];
    int found = 0;
    int seen = 0;
    for (KnownBean bean : known.beans) {
      if (budget.isOver()) {
        break;
      }
      seen++;
      try {
        readBean(bean, known);
        rows[found++] = bean.row();
      } catch (InstanceNotFoundException e) {
        bean.leave();
        known.expire(); // the next sample asks anew which there are
      }
    }
    if (seen < rows.length) {
      reportTime(reads, seen, rows.length);
    }
    rows = found == rows.length ? rows : Arrays.copyOf(rows, found);
    if (known.failure() != null && !hasValue(rows)) {
      throw new IllegalStateException("nothing of " + reads.beans() + " can be read: "
          + known.failure());
    }
    return rows;
  }

  /** The connection is sound, so what takes too long costs what is left only. */
  private void reportTime(BeanReads reads, int seen, int all) {
    String slow = " ms to read: it is too large or too slow";
    if (seen == 0) {
      throw new IllegalStateException(reads.beans() + " takes more than " + budget.millis() + slow);
    }
    log.error("target " + target + ": " + seen + " of " + all + " MBeans " + reads.beans()
        + " are read; they take more than " + budget.millis() + slow);
  }

  private static boolean hasValue(Object[][] rows) {
    for (Object[] row : rows) {
      for (Object value : row) {
        if (!(value instanceof Unavailable)) {
          return true;
        }
      }
    }
    return rows.length == 0;
  }

  /** Beans come and go seldom, so they are not looked for each time. */
  private KnownBeans known(BeanReads reads) throws IOException {
    KnownBeans known = knownBeans.get(reads.beans());
    if (known != null && known.reads != reads) {
      known = null;
    }
    long now = times.clock().millis();
    if (known == null || known.isStale(now)) {
      known = new KnownBeans(find(reads.beans(), known), reads, known, now);
      knownBeans.put(reads.beans(), known);
    }
    return known;
  }

  private ObjectName[] find(String beans, KnownBeans before) throws IOException {
    ObjectName name = ObjectNames.of(beans);
    if (!name.isPattern()) {
      return new ObjectName[] {name};
    }
    try {
      return fitting(name, server.queryNames(name, null));
    } catch (UnmarshalException e) {
      if (before == null || !ForeignClass.isCauseOf(e)) {
        throw e;
      }
      log.error("target " + target + ": the names of " + beans + " can't be read, so those that"
          + " were found last are used: " + ForeignClass.reason(e));
      return before.names();
    }
  }

  /** Another JVM may answer with anything. */
  private ObjectName[] fitting(ObjectName pattern, Set<?> answer) {
    List<ObjectName> found = new ArrayList<>();
    if (answer != null) {
      for (Object each : answer) {
        if (each instanceof ObjectName name && pattern.apply(name)) {
          found.add(name);
        }
      }
    }
    ObjectName[] names = found.toArray(new ObjectName[0]);
    Arrays.sort(names);
    if (names.length > MAX_BEANS) {
      log.error("target " + target + ": " + MAX_BEANS + " of " + names.length + " MBeans " + pattern
          + " are read; there are too many");
      return Arrays.copyOf(names, MAX_BEANS);
    }
    return names;
  }

  /** Brings the known values of a bean up to date. */
  private void readBean(KnownBean bean, KnownBeans known)
      throws IOException, InstanceNotFoundException {
    long now = times.clock().millis();
    boolean isDue = bean.isDue(now, times.seldomMillis());
    boolean isSeldom = !isDue && known.isSeldom(bean);
    List<Integer> together = new ArrayList<>();
    List<Integer> alone = new ArrayList<>();
    for (int place = 0; place < known.attributes(); place++) {
      if (!bean.isSound(place)) {
        if (bean.isRetryDue(place, now)) {
          alone.add(place);
        }
      } else if (isDue || (known.isOften(place) && !isSeldom)) {
        together.add(place);
      }
    }
    if (!together.isEmpty()) {
      alone.addAll(readTogether(bean, known, together));
    }
    for (int place : alone) {
      if (aloneLeft == 0 || budget.isOver()) {
        bean.postpone(place, now);
      } else {
        aloneLeft--;
        readAlone(bean, known, place);
      }
    }
    if (isDue) {
      bean.allAreRead(now);
    }
  }

  /** Reads attributes in one call. Gives those that are missing in the answer, or all. */
  private List<Integer> readTogether(KnownBean bean, KnownBeans known, List<Integer> places)
      throws IOException, InstanceNotFoundException {
    String[] names = new String[places.size()];
    for (int i = 0; i < names.length; i++) {
      names[i] = known.attribute(places.get(i));
    }
    List<Integer> missing = new ArrayList<>(places);
    try {
      // Not asList(): that refuses a list that has anything else in it as well.
      List<?> answer = server.getAttributes(bean.name(), names);
      for (Object each : answer) {
        int at = each instanceof Attribute attribute
            ? Arrays.asList(names).indexOf(attribute.getName()) : -1;
        if (at >= 0) {
          bean.keep(places.get(at), KeptValue.of(((Attribute) each).getValue()));
          missing.remove(places.get(at));
        }
      }
    } catch (InstanceNotFoundException e) {
      throw e;
    } catch (UnmarshalException e) {
      // One value that is not accepted spoils the whole answer.
      if (!ForeignClass.isCauseOf(e)) {
        throw e;
      }
    } catch (JMException | RuntimeException e) {
      // Each by itself tells what is wrong, or is none of those for which the answer failed.
      return missing;
    }
    return missing;
  }

  private void readAlone(KnownBean bean, KnownBeans known, int place)
      throws IOException, InstanceNotFoundException {
    String attribute = known.attribute(place);
    String reason;
    try {
      bean.keep(place, KeptValue.of(server.getAttribute(bean.name(), attribute)));
      return;
    } catch (InstanceNotFoundException e) {
      throw e;
    } catch (AttributeNotFoundException e) {
      Object other = substitute(bean.name(), attribute);
      if (other != null) {
        bean.keep(place, other);
        return;
      }
      reason = "it has no such attribute";
    } catch (UnmarshalException e) {
      if (!ForeignClass.isCauseOf(e)) {
        throw e;
      }
      reason = ForeignClass.reason(e);
    } catch (JMException | RuntimeException e) {
      reason = FaultText.withClass(e.getCause() == null ? e : e.getCause());
    } catch (IOException e) {
      if (!isShortOfDescriptors(e)) {
        throw e;
      }
      reason = FaultText.of(e);
    }
    known.failed(Shown.name(bean.name()) + " gives no " + attribute + ": " + reason);
    if (bean.fail(place, times.clock().millis())) {
      log.error("target " + target + ": " + known.failure());
    }
  }

  /** What was refused has closed its connection, and this process can open no other one now. */
  private static boolean isShortOfDescriptors(IOException failure) {
    String reason = failure.getCause() == null ? null : failure.getCause().getMessage();
    return reason != null && reason.contains("Too many open files");
  }

  /** Class libraries before 10 have no attribute {@code Pid}, but a name that begins with it. */
  private Object substitute(ObjectName bean, String attribute) throws IOException {
    if (!attribute.equals("Pid")) {
      return null;
    }
    try {
      Object name = server.getAttribute(bean, "Name");
      int at = name instanceof String text ? text.indexOf('@') : -1;
      return at > 0 ? Long.valueOf(((String) name).substring(0, at)) : null;
    } catch (JMException | RuntimeException e) {
      return null;
    }
  }
}
