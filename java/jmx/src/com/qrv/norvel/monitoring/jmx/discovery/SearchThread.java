package com.qrv.norvel.monitoring.jmx.discovery;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import java.util.List;
import java.util.function.Consumer;

/** A search at an interval, on a thread of its own: nothing else waits for it when it hangs. */
public final class SearchThread implements LocalSearch, Runnable {
  private final JvmSearch search;
  private final long intervalMillis;
  private final Clock clock;
  private final OperatorLog log;
  private Consumer<List<LocalJvm>> found; // set before the thread starts
  private String failure = ""; // of the last search; the thread's alone
  private boolean closed; // guarded by this

  public SearchThread(JvmSearch search, long intervalMillis, Clock clock, OperatorLog log) {
    this.search = search;
    this.intervalMillis = intervalMillis;
    this.clock = clock;
    this.log = log;
  }

  @Override
  public void start(Consumer<List<LocalJvm>> taker) {
    found = taker;
    Thread thread = new Thread(null, this, "jmx-search", 512 * 1024);
    thread.setDaemon(true);
    thread.start();
  }

  @Override
  public synchronized void close() {
    closed = true;
    notifyAll();
  }

  @Override
  public void run() {
    try {
      do {
        searchOnce();
      } while (awaitNext(clock.millis() + intervalMillis));
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  /** Nothing ends the thread: the next search may do better, when there is memory again say. */
  private void searchOnce() throws InterruptedException {
    try {
      found.accept(search.search());
      failure = "";
    } catch (RuntimeException | Error e) {
      complain(e);
    }
  }

  private void complain(Throwable e) {
    try {
      String text = "the search for local JVMs failed: " + e;
      if (!text.equals(failure)) {
        log.error(text);
      }
      failure = text;
    } catch (RuntimeException | Error again) {
      // There is not even memory to tell of it; the next time there may be.
      failure = "";
    }
  }

  private synchronized boolean awaitNext(long next) throws InterruptedException {
    while (!closed) {
      long pause = next - clock.millis();
      if (pause <= 0) {
        return true;
      }
      wait(pause);
    }
    return false;
  }
}
