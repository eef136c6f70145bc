package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.base.Reported;
import com.qrv.norvel.monitoring.jmx.base.Shown;
import com.qrv.norvel.monitoring.jmx.table.PlainValue;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import java.util.HashSet;
import java.util.Set;
import javax.management.Notification;
import javax.management.ObjectName;

/** One event table: who wants it, and where its events go. Any thread may call. */
final class WatchedTable implements SituationHandler {
  /** The subnode's name and the event's number come first; the toolkit fills them. */
  private static final int FIRST_COLUMN = 2;

  private final NotificationTable source;
  private final Runnable onWish;
  private final OperatorLog log;
  private final Set<String> situations = new HashSet<>(); // guarded by itself
  private final Reported reported = new Reported();
  private volatile EventTable events;

  /** @param onWish run when it begins or ceases to be wanted; must not block */
  WatchedTable(NotificationTable source, Runnable onWish, OperatorLog log) {
    this.source = source;
    this.onWish = onWish;
    this.log = log;
  }

  /** Names where events go; before anything is heard. */
  void bind(EventTable table) {
    events = table;
  }

  NotificationTable source() {
    return source;
  }

  boolean isWanted() {
    synchronized (situations) {
      return !situations.isEmpty();
    }
  }

  @Override
  public void armed(Situation situation) {
    boolean isFirst;
    synchronized (situations) {
      isFirst = situations.isEmpty();
      situations.add(situation.name());
    }
    if (isFirst) {
      onWish.run();
    }
  }

  @Override
  public void disarmed(Situation situation) {
    boolean wasLast;
    synchronized (situations) {
      wasLast = situations.remove(situation.name()) && situations.isEmpty();
    }
    if (wasLast) {
      onWish.run();
    }
  }

  /** Takes a notification of a target's bean. */
  void heard(String subnode, ObjectName bean, Notification notification) {
    Object[] cells;
    try {
      cells = source.cells(bean, notification);
    } catch (RuntimeException e) {
      missed(1);
      reportOnce(
          subnode,
          "a notification of " + Shown.name(bean) + " can't be read: " + FaultText.withClass(e));
      return;
    }
    if (cells != null && isWanted()) {
      events.offer(subnode, row -> write(cells, row));
    }
  }

  /** Counts events that happened and were not heard. */
  void missed(long count) {
    events.missed(count);
  }

  void reportOnce(String subnode, String what) {
    if (reported.isNew(subnode + ' ' + what)) {
      log.error("target " + subnode + ": " + name() + ": " + what);
    }
  }

  private String name() {
    return source.definition().name();
  }

  private static void write(Object[] cells, Row row) {
    for (int i = 0; i < cells.length; i++) {
      if (cells[i] instanceof Number && PlainValue.isNumber(cells[i])) {
        if (PlainValue.whole(cells[i]) instanceof Long whole) {
          row.set(FIRST_COLUMN + i, whole);
        }
      } else {
        row.set(FIRST_COLUMN + i, PlainValue.text(cells[i]));
      }
    }
  }
}
