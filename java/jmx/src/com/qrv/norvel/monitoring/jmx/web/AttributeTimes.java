package com.qrv.norvel.monitoring.jmx.web;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.Shown;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import java.io.IOException;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import javax.management.JMException;
import javax.management.MBeanServerConnection;
import javax.management.ObjectName;

/**
 * Reads the attributes of the tables one by one and measures each. Samples read them in bulk, which
 * hides the slow ones.
 */
final class AttributeTimes implements TargetWork<AttributeTimes.Result> {
  /**
   * How long one attribute took.
   *
   * @param bean the MBean's name
   * @param failure why it can't be read, or null
   */
  record Time(String bean, String attribute, long micros, String failure) {}

  /**
   * What was measured.
   *
   * @param times in the order in which they were read
   * @param isComplete whether all attributes were read before the time was over
   */
  record Result(List<Time> times, boolean isComplete) {}

  private final BeanTable[] tables;
  private final Clock clock;
  private final long budgetMillis;

  /** @param budgetMillis when so much time has passed, what is left is not read */
  AttributeTimes(BeanTable[] tables, Clock clock, long budgetMillis) {
    this.tables = tables;
    this.clock = clock;
    this.budgetMillis = budgetMillis;
  }

  @Override
  public Result on(Link link) throws IOException, JMException {
    long end = clock.millis() + budgetMillis;
    List<Time> times = new ArrayList<>();
    Set<String> read = new HashSet<>();
    MBeanServerConnection server = link.server();
    for (BeanTable table : tables) {
      for (ObjectName bean : server.queryNames(new ObjectName(table.beans()), null)) {
        for (String attribute : table.attributes()) {
          if (clock.millis() >= end) {
            return new Result(times, false);
          }
          if (read.add(bean.getCanonicalName() + ' ' + attribute)) {
            times.add(read(server, bean, attribute));
          }
        }
      }
    }
    return new Result(times, true);
  }

  private static Time read(MBeanServerConnection server, ObjectName bean, String attribute)
      throws IOException {
    long start = System.nanoTime();
    String failure = null;
    try {
      server.getAttribute(bean, attribute);
    } catch (JMException | RuntimeException e) {
      Throwable cause = e.getCause() == null ? e : e.getCause();
      failure = FaultText.withClass(cause);
    }
    long micros = (System.nanoTime() - start) / 1000;
    return new Time(Shown.name(bean.getCanonicalName()), attribute, micros, failure);
  }
}
