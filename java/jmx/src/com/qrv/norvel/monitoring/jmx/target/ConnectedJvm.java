package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.Clock;
import com.qrv.norvel.monitoring.jmx.EventLog;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import java.io.IOException;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * A JVM behind a connection, with a thread of its own that makes every call on it, one at a time.
 *
 * <p>A call that takes too long is ended by the {@link Watchdog}; whoever waits for it is told at
 * once. While the target is down, callers are refused at once and the thread tries to connect at
 * growing intervals. Work of one kind is shared by those who ask for it, so nothing
 * grows meanwhile.
 */
public final class ConnectedJvm implements MonitoredJvm, Runnable {
  /** How long a sample waits for its turn and its answer, counted in calls. */
  public static final int MAX_WAIT_CALLS = 3;

  private static final String NO_ANSWER = "no answer in time";

  private final TargetIdentity identity;
  private final TargetTimes times;
  private final Dialer dialer;
  private final Watchdog watchdog;
  private final Clock clock;
  private final EventLog log;
  private final TargetObserver observer;

  private Link link; // the thread's alone

  // Guarded by this, all that follows.
  private final Retry retry;
  private final Map<String, Job<?>> jobs = new LinkedHashMap<>(); // by key, with the running
  private final TargetBook book;
  private long lastCallMillis;
  private boolean present; // does not flicker: ends when the first new attempt has failed
  private boolean closed;
  private boolean inCall;
  private boolean overdue; // the call in progress has been given up
  private long deadlineMillis; // of the call in progress

  /**
   * @param observer told by the target's thread
   */
  public ConnectedJvm(
      TargetIdentity identity,
      TargetTimes times,
      Dialer dialer,
      Retry retry,
      Watchdog watchdog,
      Clock clock,
      EventLog log,
      TargetObserver observer) {
    this.identity = identity;
    this.times = times;
    this.dialer = dialer;
    this.retry = retry;
    this.watchdog = watchdog;
    this.clock = clock;
    this.log = log;
    this.observer = observer;
    this.book = new TargetBook(identity, clock.wallMillis());
  }

  @Override
  public void start() {
    Thread thread = new Thread(null, this, "jmx-" + identity.name(), 512 * 1024);
    thread.setDaemon(true);
    thread.start();
  }

  @Override
  public String name() {
    return identity.name();
  }

  @Override
  public synchronized boolean isPresent() {
    return present && !closed;
  }

  @Override
  public synchronized TargetStatus status() {
    return book.status();
  }

  @Override
  public Object[][] sample(BeanTable table) throws TargetException, InterruptedException {
    return work(table.name(), new SampleWork(table, identity.title()));
  }

  @Override
  public <T> T work(String key, TargetWork<T> work) throws TargetException, InterruptedException {
    Job<T> job;
    synchronized (this) {
      boolean firstContact = book.state() == TargetState.CONNECTING && !retry.hasFailed();
      if (closed || (book.state() != TargetState.UP && !firstContact)) {
        throw new TargetException(book.refusal());
      }
      job = shared(key, work);
    }
    // An overdue call fails all jobs, so this passes only while every answer is slow but in time.
    long limit = MAX_WAIT_CALLS * times.call();
    if (!job.await(limit)) {
      throw new TargetException(name() + " was busy with other work for " + limit + " ms");
    }
    return job.result();
  }

  @Override
  public synchronized void later(String key, TargetWork<?> work) {
    if (!closed && book.state() == TargetState.UP) {
      shared(key, work).leaveAlone();
    }
  }

  /** Work of one key has one kind of result. Holds the lock. */
  @SuppressWarnings("unchecked")
  private <T> Job<T> shared(String key, TargetWork<T> work) {
    Job<T> job = (Job<T>) jobs.get(key);
    if (job == null) {
      job = new Job<>(key, work);
      jobs.put(key, job);
      notifyAll();
    }
    return job;
  }

  @Override
  public synchronized void retryNow() {
    dialer.encourage();
    retry.now(clock.millis());
    notifyAll();
  }

  @Override
  public synchronized void close() {
    if (!closed) {
      closed = true;
      become(TargetState.CLOSED);
      failJobs(name() + " is no longer monitored");
      notifyAll();
    }
  }

  /**
   * Ends the call in progress when its time is over. The watchdog's thread only.
   *
   * @return when to look again, on the clock's milliseconds
   */
  long expire(long nowMillis) {
    synchronized (this) {
      if (!inCall) {
        return Long.MAX_VALUE;
      }
      if (nowMillis < deadlineMillis) {
        return deadlineMillis;
      }
      if (!overdue) {
        overdue = true;
        book.suspect(NO_ANSWER);
        if (!closed) {
          become(TargetState.OVERDUE);
        }
        failJobs(book.refusal());
      }
    }
    // Again and again until the call ends: it may have opened another socket meanwhile.
    dialer.cut();
    return nowMillis + times.call() / 4;
  }

  @Override
  public void run() {
    dialer.adoptThread();
    watchdog.watch(this);
    try {
      while (awaitWork()) {
        if (link == null) {
          dial();
        } else {
          work();
        }
      }
      if (link != null) {
        hangUp();
      }
    } catch (InterruptedException e) {
      // Somebody ends this thread: so be it.
      Thread.currentThread().interrupt();
    } finally {
      close();
      watchdog.forget(this);
      dialer.cut();
    }
  }

  /** Waits until there is something to do; false when the target has been closed. */
  private synchronized boolean awaitWork() throws InterruptedException {
    while (!closed) {
      long now = clock.millis();
      long pause;
      if (link == null) {
        pause = retry.waitMillis(now);
      } else if (!jobs.isEmpty()) {
        return true;
      } else {
        pause = lastCallMillis + times.heartbeat() - now;
      }
      if (pause <= 0) {
        return true;
      }
      wait(pause);
    }
    return false;
  }

  private void dial() {
    dialer.allow();
    begin(times.dial(), true);
    String error = null;
    Link opened = null;
    try {
      opened = dialer.dial();
    } catch (Exception | Error e) {
      // An Error too: what one target does to its thread must not end the thread.
      error = FaultText.of(e);
    }
    if (!finish(error)) {
      appear(false);
      return;
    }
    link = opened;
    synchronized (this) {
      if (!closed) {
        become(TargetState.UP);
      }
    }
    log.info("target " + name() + " is up");
    appear(true);
    observer.up(this);
  }

  private void appear(boolean isThere) {
    synchronized (this) {
      if (present == isThere) {
        return;
      }
      present = isThere;
    }
    observer.presenceChanged();
  }

  private void work() {
    List<Job<?>> due;
    synchronized (this) {
      due = new ArrayList<>(jobs.values());
    }
    if (due.isEmpty()) {
      ping();
      return;
    }
    for (Job<?> job : due) {
      if (link == null) {
        return;
      }
      perform(job);
    }
  }

  private <T> void perform(Job<T> job) {
    long start = clock.millis();
    begin(times.call(), false);
    String error = null;
    String cause = null;
    T result = null;
    try {
      result = job.run(link);
    } catch (Exception | Error e) {
      if ((e instanceof IOException && !ForeignClass.isCauseOf(e)) || e instanceof Error) {
        error = FaultText.of(e);
      } else {
        // The connection is sound; the JVM refuses this, or sends what is not accepted.
        cause = FaultText.of(e);
      }
    }
    if (!finish(error)) {
      return;
    }
    String refused = cause == null ? null : job.key() + " of " + name() + ": " + cause;
    boolean isNews = false;
    synchronized (this) {
      jobs.remove(job.key());
      if (refused == null) {
        book.succeeded(job.table(), clock.millis() - start);
        retry.succeeded();
      } else {
        book.failed(refused);
        isNews = job.isAlone() && book.isNewRefusal(cause);
      }
    }
    if (isNews) {
      log.error("target " + name() + ": " + refused);
    }
    if (refused == null) {
      job.succeed(result);
    } else {
      job.refuse(refused);
    }
  }

  private void ping() {
    begin(times.call(), false);
    String error = null;
    try {
      link.ping();
    } catch (IOException | Error e) {
      error = FaultText.of(e);
    } catch (RuntimeException e) {
      // It answered, if only to refuse: that is a sign of life.
      error = null;
    }
    finish(error);
  }

  private void hangUp() {
    begin(times.call(), false);
    try {
      link.close();
    } catch (IOException | RuntimeException e) {
      log.info("target " + name() + " was left without a goodbye: " + FaultText.of(e));
    }
    synchronized (this) {
      inCall = false;
    }
  }

  private synchronized void begin(long limit, boolean dialling) {
    inCall = true;
    overdue = false;
    deadlineMillis = clock.millis() + limit;
    if (dialling && !closed) {
      become(TargetState.CONNECTING);
    }
  }

  /**
   * Ends a call.
   *
   * @param error what broke the connection, or null
   * @return whether the connection is good; if not, it has been dropped
   */
  private boolean finish(String error) {
    String report = null;
    synchronized (this) {
      inCall = false;
      lastCallMillis = clock.millis();
      if (error == null && !overdue) {
        return true;
      }
      book.failed(overdue ? NO_ANSWER : error);
      retry.failed(lastCallMillis);
      if (!closed) {
        become(TargetState.DOWN);
      }
      failJobs(book.refusal());
      if (book.isNewFault()) {
        report = book.refusal();
      }
    }
    // The connector is left to the garbage collector: closing it would call the target again.
    link = null;
    dialer.cut();
    if (report != null) {
      log.error(report);
    }
    return false;
  }

  // Holds the lock.
  private void become(TargetState next) {
    book.become(next, clock.wallMillis());
  }

  // Holds the lock.
  private void failJobs(String reason) {
    for (Job<?> job : jobs.values()) {
      job.fail(reason);
    }
    jobs.clear();
  }
}
