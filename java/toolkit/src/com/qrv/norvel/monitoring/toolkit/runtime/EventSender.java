package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.NotificationCode;
import java.util.ArrayList;
import java.util.HashMap;

/**
 * Sends the events of all tables, and nudges the native side, on one thread of its own.
 *
 * <p>The native side's thread for notifications may fall asleep just as one arrives, and would
 * sleep on for a minute. So a burst of notifications is followed by an empty batch of events, sent
 * when the thread has had time to go to sleep: it wakes it, and does nothing else.
 *
 * <p>The thread is made when there is something to send for the first time after the agent is up.
 */
final class EventSender implements EventQueue.Listener, NotificationSender.Listener, Runnable {
  static final long NUDGE_NANOS = 50_000_000;
  static final long REPORT_NANOS = 10_000_000_000L;
  private static final long IDLE_NANOS = 60_000_000_000L;
  private static final long RETRY_NANOS = 1_000_000_000L;

  private enum Work {
    EVENTS,
    NUDGE,
    REPORT,
    NONE
  }

  private final NotificationSender notifications;
  private final Clock clock;
  private final Pace pace;
  private final AgentLog log;
  private final ArrayList<EventQueue> queues = new ArrayList<EventQueue>(); // guarded by this
  private String nudgedTable; // guarded by this, as what follows
  private boolean open;
  private boolean closed;
  private boolean running;
  private boolean eventsWait;
  private boolean nudgeWaits;
  private boolean lossWaits;
  private long nudgeAt;
  private long reportAt;

  EventSender(NotificationSender notifications, Clock clock, Pace pace, AgentLog log) {
    this.notifications = notifications;
    this.clock = clock;
    this.pace = pace;
    this.log = log;
    reportAt = clock.nanoTime();
  }

  /** Makes the queue of an event table. Before {@link #open}. */
  synchronized EventQueue add(TableLayout layout, SituationWatch watch) {
    EventQueue queue = new EventQueue(layout, watch, clock, log, this);
    queues.add(queue);
    return queue;
  }

  /** Names the table whose empty batch is the nudge; null for none. */
  synchronized void nudgeWith(String table) {
    nudgedTable = table;
  }

  /** The agent is up. */
  synchronized void open() {
    open = true;
    run(eventsWait || nudgeWaits || lossWaits);
  }

  /** Loses what waits. */
  void close() {
    synchronized (this) {
      closed = true;
      notifyAll();
    }
    ArrayList<EventQueue> all = queues();
    for (int i = 0; i < all.size(); i++) {
      all.get(i).close();
      all.get(i).reportLost();
    }
  }

  @Override
  public synchronized void eventsWait() {
    eventsWait = true;
    run(true);
  }

  @Override
  public synchronized void eventLost() {
    if (!lossWaits) {
      lossWaits = true;
      run(true);
    }
  }

  @Override
  public synchronized void notificationSent() {
    if (nudgedTable == null) {
      return;
    }
    nudgeAt = clock.nanoTime() + NUDGE_NANOS;
    if (!nudgeWaits) {
      nudgeWaits = true;
      run(true);
    }
  }

  /** Wakes or makes the thread. Under the lock. */
  private void run(boolean needed) {
    if (!needed || !open || closed) {
      return;
    }
    notifyAll();
    if (!running) {
      try {
        Thread thread = new Thread(this, "zel-events");
        thread.setDaemon(true);
        thread.setContextClassLoader(ClassLoader.getSystemClassLoader());
        thread.start();
        running = true;
      } catch (Throwable failure) {
        // Whoever handed the event over is not to blame. What comes next tries again.
        log.error("no thread to send events on", failure);
      }
    }
  }

  @Override
  public void run() {
    ArrayList<EventQueue> all = queues();
    Work work = Work.EVENTS;
    while (work != Work.NONE) {
      try {
        work = nextWork();
        perform(work, all);
      } catch (Throwable failure) {
        log.error("events could not be sent; they will be sent again", failure);
        retryLater();
      }
    }
  }

  private synchronized ArrayList<EventQueue> queues() {
    return new ArrayList<EventQueue>(queues);
  }

  /** Waits for something to do. None ends the thread. */
  private synchronized Work nextWork() {
    long idleEnd = clock.nanoTime() + IDLE_NANOS;
    while (!closed) {
      // Events last: under a load that does not end, something of them always waits.
      if (nudgeWaits && isPast(nudgeAt)) {
        nudgeWaits = false;
        return Work.NUDGE;
      }
      if (lossWaits && isPast(reportAt)) {
        lossWaits = false;
        reportAt = clock.nanoTime() + REPORT_NANOS;
        return Work.REPORT;
      }
      if (eventsWait) {
        eventsWait = false;
        return Work.EVENTS;
      }
      if (!nudgeWaits && !lossWaits && isPast(idleEnd)) {
        break;
      }
      pause(nudgeWaits ? nudgeAt : lossWaits ? reportAt : idleEnd);
    }
    running = false;
    return Work.NONE;
  }

  private void perform(Work work, ArrayList<EventQueue> all) {
    if (work == Work.EVENTS) {
      sendAll(all);
    } else if (work == Work.NUDGE) {
      nudge();
    } else if (work == Work.REPORT) {
      for (int i = 0; i < all.size(); i++) {
        all.get(i).reportLost();
      }
    }
  }

  /** One batch of each table, so that none waits for a busy one; what is left comes next time. */
  private void sendAll(ArrayList<EventQueue> all) {
    boolean more = false;
    for (int i = 0; i < all.size(); i++) {
      EventQueue queue = all.get(i);
      ArrayList<Object> rows = queue.take();
      if (rows != null) {
        more = true;
        send(queue, rows);
        pauseUntil(pace.went(rows.size()));
      }
    }
    if (more) {
      lookAgain();
    }
  }

  private synchronized void lookAgain() {
    eventsWait = true;
  }

  private void send(EventQueue queue, ArrayList<Object> rows) {
    int count = rows.size();
    boolean sent = false;
    try {
      sent = notifications.send(NotificationCode.EVENTS, body(queue.layout.table.name(), rows));
    } finally {
      if (sent) {
        queue.sent(count);
      } else {
        queue.dropped(count);
      }
    }
  }

  private void nudge() {
    String table;
    synchronized (this) {
      table = nudgedTable;
    }
    notifications.sendUnnoticed(NotificationCode.EVENTS, body(table, new ArrayList<Object>()));
  }

  private static HashMap<Integer, Object> body(String table, ArrayList<Object> rows) {
    HashMap<Integer, Object> body = new HashMap<Integer, Object>();
    body.put(Keys.Events.TABLE, table);
    body.put(Keys.Events.ROWS, rows);
    return body;
  }

  private boolean isPast(long moment) {
    return clock.nanoTime() - moment >= 0;
  }

  private synchronized void retryLater() {
    eventsWait = true;
    pauseUntil(clock.nanoTime() + RETRY_NANOS);
  }

  private synchronized void pauseUntil(long moment) {
    while (!closed && !isPast(moment)) {
      pause(moment);
    }
  }

  /** May end early. Under the lock. */
  private void pause(long moment) {
    try {
      clock.await(this, moment - clock.nanoTime());
    } catch (InterruptedException stray) {
      // Nobody interrupts this thread for a reason; what it waits for is tested again.
      return;
    }
  }
}
