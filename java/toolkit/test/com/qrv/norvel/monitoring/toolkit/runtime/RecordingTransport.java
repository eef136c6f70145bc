package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.bridge.Transport;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;

/** Keeps what is sent, with the thread that sends it. */
final class RecordingTransport implements Transport {
  private final List<HashMap<Integer, Object>> sent = new ArrayList<>(); // guarded by this
  private final List<Thread> senders = new ArrayList<>(); // guarded by this
  private RuntimeException failure; // guarded by this

  @Override
  public synchronized void send(HashMap<Integer, Object> envelope) {
    sent.add(envelope);
    senders.add(Thread.currentThread());
    notifyAll();
    if (failure != null) {
      throw failure;
    }
  }

  synchronized void failWith(RuntimeException exception) {
    failure = exception;
  }

  /** Returns when a notification has been sent. */
  synchronized HashMap<Integer, Object> awaitNotification() throws InterruptedException {
    long end = System.nanoTime() + 30_000_000_000L;
    while (ofType(2).isEmpty()) {
      if (System.nanoTime() > end) {
        throw new AssertionError("no notification in " + sent);
      }
      wait(1000);
    }
    return ofType(2).get(0);
  }

  /** Returns the notifications of a code when there are so many of them. */
  synchronized List<HashMap<Integer, Object>> awaitNotifications(int code, int count)
      throws InterruptedException {
    long end = System.nanoTime() + 30_000_000_000L;
    while (notifications(code).size() < count) {
      if (System.nanoTime() > end) {
        throw new AssertionError("fewer than " + count + " notifications " + code + ": " + sent);
      }
      wait(1000);
    }
    return notifications(code);
  }

  /** The notifications of a code. */
  synchronized List<HashMap<Integer, Object>> notifications(int code) {
    List<HashMap<Integer, Object>> found = new ArrayList<>();
    for (HashMap<Integer, Object> envelope : ofType(2)) {
      if (envelope.get(1).equals(code)) {
        found.add(envelope);
      }
    }
    return found;
  }

  synchronized List<HashMap<Integer, Object>> sent() {
    return new ArrayList<>(sent);
  }

  /** The messages of one type. */
  synchronized List<HashMap<Integer, Object>> ofType(int type) {
    List<HashMap<Integer, Object>> found = new ArrayList<>();
    for (HashMap<Integer, Object> envelope : sent) {
      if (envelope.get(0).equals(type)) {
        found.add(envelope);
      }
    }
    return found;
  }

  /** The answers that carry a handle. */
  synchronized List<HashMap<Integer, Object>> answersTo(long handle) {
    List<HashMap<Integer, Object>> found = new ArrayList<>();
    for (HashMap<Integer, Object> envelope : sent) {
      if (Long.valueOf(handle).equals(envelope.get(4))) {
        found.add(envelope);
      }
    }
    return found;
  }

  synchronized Thread senderOf(HashMap<Integer, Object> envelope) {
    for (int i = 0; i < sent.size(); i++) {
      if (sent.get(i) == envelope) {
        return senders.get(i);
      }
    }
    throw new AssertionError("never sent: " + envelope);
  }
}
