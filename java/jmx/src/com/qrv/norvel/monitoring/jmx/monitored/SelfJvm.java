package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.link.SelfLink;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.util.ArrayDeque;

/** The JVM that this code runs in, read by direct calls on the caller's thread. */
public final class SelfJvm implements MonitoredJvm {
  public static final String NAME = "self";

  private final String title;
  private final Clock clock;
  private final OperatorLog log;
  private final SelfLink link = new SelfLink();
  private final TargetBook book; // guarded by itself
  private final ArrayDeque<TargetWork<?>> waiting = new ArrayDeque<>(); // guarded by itself
  private boolean isWorking; // guarded by waiting

  public SelfJvm(String title, Clock clock, OperatorLog log) {
    this.title = title;
    this.clock = clock;
    this.log = log;
    TargetIdentity identity =
        new TargetIdentity(NAME, TargetKind.SELF, title, ownPid(), "");
    long now = clock.wallMillis();
    book = new TargetBook(identity, now);
    book.become(TargetState.UP, now);
  }

  /** Not by ProcessHandle, which makes a pool of threads first. */
  private static long ownPid() {
    return ManagementFactory.getRuntimeMXBean().getPid();
  }

  @Override
  public String name() {
    return NAME;
  }

  @Override
  public boolean isPresent() {
    return true;
  }

  @Override
  public TargetStatus status() {
    synchronized (book) {
      return book.status();
    }
  }

  @Override
  public void start() {}

  @Override
  public void close() {}

  @Override
  public void retryNow() {}

  @Override
  public Object[][] sample(BeanTable table) throws TargetException {
    long start = clock.millis();
    Object[][] rows;
    try {
      rows = table.read(link, title);
    } catch (IOException e) {
      throw new TargetException(NAME + ": " + e);
    }
    synchronized (book) {
      book.succeeded(table.name(), clock.millis() - start);
    }
    return rows;
  }

  @Override
  public <T> T work(String key, TargetWork<T> work) throws TargetException, InterruptedException {
    try {
      return work.on(link);
    } catch (InterruptedException e) {
      throw e;
    } catch (Exception e) {
      throw new TargetException(
          key + " of " + NAME + ": " + FaultText.of(e), TargetException.Outcome.REFUSED);
    }
  }

  /** On a thread of its own: this may take a while, and whoever asks must not wait. */
  @Override
  public void later(String key, TargetWork<?> work) {
    synchronized (waiting) {
      waiting.addLast(work);
      if (!isWorking) {
        Thread thread = new Thread(null, this::workOff, "jmx-self", 256 * 1024);
        thread.setDaemon(true);
        thread.start();
        isWorking = true; // not before: without memory for a thread, whoever comes next tries again
      }
    }
  }

  private void complain(String cause) {
    boolean isNews;
    synchronized (book) {
      book.failed(cause);
      isNews = book.isNewRefusal(cause);
    }
    if (isNews) {
      log.error("target " + NAME + ": " + cause);
    }
  }

  private void workOff() {
    while (true) {
      TargetWork<?> next;
      synchronized (waiting) {
        next = waiting.pollFirst();
        if (next == null) {
          isWorking = false;
          return;
        }
      }
      try {
        next.on(link);
      } catch (Exception | Error e) {
        // An Error too: the thread has to see to what waits behind this.
        complain(FaultText.of(e));
      }
    }
  }
}
