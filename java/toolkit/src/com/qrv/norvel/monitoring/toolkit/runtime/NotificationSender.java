package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.bridge.Envelope;
import com.qrv.norvel.monitoring.toolkit.bridge.Transport;
import java.util.ArrayList;
import java.util.HashMap;

/**
 * Sends notifications, in the order in which they are made.
 *
 * <p>Until the agent is up they wait: nobody on the native side would take them. Once it stops they
 * are dropped: a message to a client that is gone would make the native side build a new one.
 */
final class NotificationSender {
  /** How many may wait for the agent to come up. */
  static final int MAX_PENDING = 10_000;

  private static final long CLOSE_NANOS = 1_000_000_000L;

  /** Told after each notification. */
  interface Listener {
    void notificationSent();
  }

  private final Transport transport;
  private final Clock clock;
  private final AgentLog log;
  private final Object lock = new Object();
  private ArrayList<HashMap<Integer, Object>> pending =
      new ArrayList<HashMap<Integer, Object>>(); // guarded by lock, as what follows
  private boolean open;
  private boolean closed;
  private int sending;
  private volatile Listener listener;

  NotificationSender(Transport transport, Clock clock, AgentLog log) {
    this.transport = transport;
    this.clock = clock;
    this.log = log;
  }

  /** Names whom to tell; nobody is told before. */
  void onSent(Listener told) {
    listener = told;
  }

  /**
   * Sends a notification, now or when the agent is up.
   *
   * @return false when it is dropped, since the agent stops
   * @throws IllegalStateException when too many wait already
   */
  boolean send(int code, HashMap<Integer, Object> body) {
    boolean taken = sendUnnoticed(code, body);
    tellListener();
    return taken;
  }

  /** As {@link #send}, without telling the listener. */
  boolean sendUnnoticed(int code, HashMap<Integer, Object> body) {
    HashMap<Integer, Object> envelope = Envelope.notification(code, body);
    synchronized (lock) {
      if (closed) {
        return false;
      }
      if (!open) {
        if (pending.size() == MAX_PENDING) {
          throw new IllegalStateException(
              MAX_PENDING + " notifications wait for the agent to come up; no more are taken");
        }
        pending.add(envelope);
        return true;
      }
      sending++;
    }
    try {
      transport.send(envelope);
    } finally {
      sent();
    }
    return true;
  }

  /** Sends what has waited, and lets what follows go out at once. */
  void open() {
    ArrayList<HashMap<Integer, Object>> batch = nextBatch();
    while (batch != null) {
      try {
        for (int i = 0; i < batch.size() && !isClosed(); i++) {
          sendWaiting(batch.get(i));
        }
      } finally {
        sent();
      }
      tellListener();
      // Others make notifications meanwhile. They wait too, so that none overtakes an older one.
      batch = nextBatch();
    }
  }

  /**
   * Drops what waits and what follows, and waits until none is on its way. Not to be called by a
   * thread that is sending one.
   */
  void close() {
    int left = closeAndWait();
    if (left > 0) {
      log.warning(left + " notifications are still on their way");
    }
  }

  private int closeAndWait() {
    synchronized (lock) {
      closed = true;
      pending.clear();
      long end = clock.nanoTime() + CLOSE_NANOS;
      long left = CLOSE_NANOS;
      while (sending > 0 && left > 0) {
        try {
          clock.await(lock, left);
        } catch (InterruptedException interrupt) {
          Thread.currentThread().interrupt();
          return sending;
        }
        left = end - clock.nanoTime();
      }
      return sending;
    }
  }

  private ArrayList<HashMap<Integer, Object>> nextBatch() {
    synchronized (lock) {
      if (open || closed) {
        return null;
      }
      if (pending.isEmpty()) {
        open = true;
        return null;
      }
      ArrayList<HashMap<Integer, Object>> batch = pending;
      pending = new ArrayList<HashMap<Integer, Object>>();
      sending++;
      return batch;
    }
  }

  private void sendWaiting(HashMap<Integer, Object> envelope) {
    try {
      transport.send(envelope);
    } catch (Throwable failure) {
      log.error("a notification that has waited could not be sent", failure);
    }
  }

  private void tellListener() {
    Listener told = listener;
    if (told != null) {
      told.notificationSent();
    }
  }

  private boolean isClosed() {
    synchronized (lock) {
      return closed;
    }
  }

  private void sent() {
    synchronized (lock) {
      sending--;
      lock.notifyAll();
    }
  }
}
