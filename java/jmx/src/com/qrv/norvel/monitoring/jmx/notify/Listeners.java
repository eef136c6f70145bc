package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.base.Shown;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.link.TimeBudget;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Collections;
import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.Consumer;
import javax.management.InstanceNotFoundException;
import javax.management.JMException;
import javax.management.ListenerNotFoundException;
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
  private final TimeBudget budget;
  private final Consumer<TargetWork<?>> goOn;
  private final OperatorLog log;
  private final Map<WatchedTable, Map<ObjectName, NotificationListener>> added =
      new LinkedHashMap<>();
  private Set<WatchedTable> heard = Set.of(); // have listened on this connection
  private volatile Link link; // set by the target's thread alone
  private Round round;

  /**
   * @param tables what may be wanted
   * @param budget how long it may listen and cease to in one piece
   * @param goOn has what is left done later, when others have had their turn; must not block
   */
  Listeners(
      String subnode,
      List<WatchedTable> tables,
      TimeBudget budget,
      Consumer<TargetWork<?>> goOn,
      OperatorLog log) {
    this.subnode = subnode;
    this.tables = tables;
    this.budget = budget;
    this.goOn = goOn;
    this.log = log;
  }

  @Override
  public Object on(Link current) throws IOException, JMException {
    if (current != link) {
      forgetLost();
      link = current;
      Set<WatchedTable> listening = ConcurrentHashMap.newKeySet();
      heard = listening;
      current.onLoss(count -> lost(listening, count));
    }
    // It looks at everything, so what was left of another is done with.
    round = new Round();
    return round.on(current);
  }

  /** The listeners went with the connection: what happened until now was heard by nobody. */
  private void forgetLost() {
    for (WatchedTable table : heard) {
      if (table.isWanted() && !of(table).isEmpty()) {
        table.missed(1);
      }
    }
    added.clear();
  }

  /**
   * A connection knows how many were lost, not whose: each table that has listened on it may lack
   * them, also when it tells late and its beans or the connection itself have gone. Any thread.
   */
  private static void lost(Set<WatchedTable> listening, long count) {
    for (WatchedTable table : listening) {
      if (table.isWanted()) {
        table.missed(count);
      }
    }
  }

  /** A look at all tables, which ends and goes on as the time allows. */
  private final class Round implements TargetWork<Object> {
    private final Iterator<WatchedTable> due = tables.iterator();
    private WatchedTable table;
    private Iterator<ObjectName> beans = Collections.emptyIterator(); // of the table, to be seen to

    @Override
    public Object on(Link current) throws IOException, JMException {
      budget.begin();
      while (this == round && current == link && (beans.hasNext() || due.hasNext())) {
        step();
        if (budget.isOver()) {
          goOn.accept(this);
          break;
        }
      }
      return null;
    }

    /** Makes one call at most. */
    private void step() throws IOException, JMException {
      if (!beans.hasNext()) {
        table = due.next();
        beans = table.isWanted() ? unheard(table) : List.copyOf(of(table).keySet()).iterator();
      } else if (table.isWanted() && of(table).size() >= MAX_BEANS) {
        table.reportOnce(
            subnode, "more than " + MAX_BEANS + " MBeans match; the rest is not listened to");
        beans = Collections.emptyIterator();
      } else if (table.isWanted()) {
        add(table, beans.next());
      } else {
        remove(table, beans.next());
      }
    }
  }

  /** The beans of a table that are to be listened to and are not yet. */
  private Iterator<ObjectName> unheard(WatchedTable table) throws IOException {
    Set<ObjectName> known = of(table).keySet();
    Set<ObjectName> present = link.names(table.source().beans());
    // What is not there any more has taken its listeners along.
    known.retainAll(present);
    List<ObjectName> unheard = new ArrayList<>();
    for (ObjectName bean : present) {
      if (!known.contains(bean)) {
        unheard.add(bean);
      }
    }
    return unheard.iterator();
  }

  private void add(WatchedTable table, ObjectName bean) throws IOException, JMException {
    NotificationListener listener = new Heard(table, bean, link);
    boolean isFirst = heard.add(table); // before: what is lost from now on is this table's, too
    boolean isListening = false;
    try {
      link.addListener(bean, listener, table.source().filter());
      of(table).put(bean, listener);
      isListening = true;
    } catch (InstanceNotFoundException e) {
      // It went away meanwhile.
    } catch (RuntimeException e) {
      table.reportOnce(
          subnode, Shown.name(bean) + " can't be listened to: " + FaultText.withClass(e));
    } finally {
      if (isFirst && !isListening) {
        heard.remove(table);
      }
    }
  }

  private void remove(WatchedTable table, ObjectName bean) throws IOException, JMException {
    NotificationListener listener = of(table).remove(bean);
    try {
      if (listener != null) {
        link.removeListener(bean, listener);
      }
    } catch (InstanceNotFoundException | ListenerNotFoundException e) {
      log.info("target " + subnode + ": " + Shown.name(bean)
          + " has disappeared along with its listener");
    }
  }

  private Map<ObjectName, NotificationListener> of(WatchedTable table) {
    return added.computeIfAbsent(table, key -> new LinkedHashMap<>());
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
      // A connection that was given up may speak for a while; its successor says the same.
      if (source == link) {
        table.heard(subnode, bean, notification);
      }
    }
  }
}
