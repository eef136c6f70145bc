package com.qrv.norvel.monitoring.jmx.link;

import java.util.concurrent.Executor;

/**
 * Fetches the notifications of one connector, one fetch after the other, each of which asks for the
 * next. A fetch that fails asks for none, and the connector tells nobody: this thread's end does.
 */
final class FetchThread implements Executor, Runnable {
  private final String target;
  private Runnable next; // guarded by this
  private boolean running; // guarded by this

  /** @param target names the thread */
  FetchThread(String target) {
    this.target = target;
  }

  /** Called by the connector, and by the fetch in progress. */
  @Override
  public synchronized void execute(Runnable fetch) {
    next = fetch;
    if (!running) {
      Thread thread = new Thread(null, this, "ClientNotifForwarder-" + target, 512 * 1024);
      thread.setDaemon(true);
      thread.start();
      running = true; // not before: there may be no memory for a thread
    }
  }

  /** Whether nothing is fetched, and nothing will be. */
  synchronized boolean hasEnded() {
    return !running;
  }

  @Override
  public void run() {
    try {
      for (Runnable fetch = take(); fetch != null; fetch = take()) {
        fetch.run();
      }
    } catch (RuntimeException | Error e) {
      end();
    }
  }

  private synchronized Runnable take() {
    Runnable fetch = next;
    next = null;
    running = fetch != null;
    return fetch;
  }

  private synchronized void end() {
    next = null;
    running = false;
  }
}
