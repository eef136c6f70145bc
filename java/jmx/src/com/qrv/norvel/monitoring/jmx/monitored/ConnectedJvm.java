package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.FaultText;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.link.Dialer;
import com.qrv.norvel.monitoring.jmx.link.ForeignClass;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import java.io.IOException;
import java.util.List;

/**
 * A JVM behind a connection, with a thread of its own that makes every call on it, one at a time.
 *
 * <p>A call that does not even end when its sockets are closed is left to its thread, and another
 * thread takes that one's place, with a connection of its own: at most {@value #MAX_LOST} times
 * before a thread comes back. So an address is not lost with what once was there.
 *
 * <p>A call that takes too long is ended by the {@link CallWatchdog}; whoever waits for it is told
 * at once. While the target is down, callers are refused at once and the thread tries to connect at
 * growing intervals. Work of one kind is shared by those who ask for it, so nothing grows in the
 * meantime.
 */
public final class ConnectedJvm implements MonitoredJvm, Runnable {
  /** How long a sample waits for its turn and its answer, counted in calls. */
  public static final int MAX_WAIT_CALLS = 3;

  /** Threads of one target that do not come back; then it stays overdue. */
  static final int MAX_LOST = 3;

  /** So long after a call was given up its thread counts as lost. */
  static final long LOST_MILLIS = 30_000;

  private static final String NO_ANSWER = "no answer in time";

  private final TargetIdentity identity;
  private final TargetTimes times;
  private final Dialer dialer;
  private final CallWatchdog watchdog;
  private final Clock clock;
  private final OperatorLog log;
  private final TargetObserver observer;

  private Link link; // the thread's alone; changed under the lock

  // Guarded by this, all that follows.
  private Thread worker; // null until it is started
  private int lost; // threads that do not come back
  private final Retry retry;
  private final Jobs jobs = new Jobs();
  private final OpenCall call = new OpenCall();
  private final TargetBook book;
  private long lastCallMillis;
  private boolean present; // does not flicker: ends when the first new attempt has failed
  private boolean closed;

  /** @param observer told by the target's thread */
  public ConnectedJvm(
      TargetIdentity identity,
      TargetTimes times,
      Dialer dialer,
      Retry retry,
      CallWatchdog watchdog,
      Clock clock,
      OperatorLog log,
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
  public synchronized void start() {
    Thread thread = new Thread(null, this, "jmx-" + identity.name(), 512 * 1024);
    thread.setDaemon(true);
    worker = thread;
    thread.start();
  }

  /** Whether another thread has taken the place of this one. Holds the lock. */
  private boolean isLost() {
    return worker != null && worker != Thread.currentThread();
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
      job = jobs.of(key, work);
      job.addCaller();
      notifyAll();
    }
    // An overdue call fails all jobs, so this passes only while every answer is slow but in time.
    long limit = Math.max(MAX_WAIT_CALLS * times.call(), work.limitMillis(times.call()));
    try {
      if (job.await(limit)) {
        return job.result();
      }
    } finally {
      synchronized (this) {
        jobs.leave(job);
      }
    }
    throw job.late(name(), limit);
  }

  @Override
  public synchronized void later(String key, TargetWork<?> work) {
    if (!closed && book.state() == TargetState.UP) {
      jobs.of(key, work).leaveAlone();
      notifyAll();
    }
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
      jobs.failAll(name() + " is no longer monitored");
      notifyAll();
    }
  }

  /**
   * Ends the call in progress when its time is over. The watchdog's thread only.
   *
   * @return when to look again, on the clock's milliseconds
   */
  long expire(long nowMillis) {
    boolean isReplaced = false;
    synchronized (this) {
      if (nowMillis < call.deadlineMillis()) {
        return call.deadlineMillis();
      }
      if (call.isOverdueFor(LOST_MILLIS, nowMillis) && lost < MAX_LOST) {
        isReplaced = replace(nowMillis);
      } else if (!call.isOverdue()) {
        call.giveUp(nowMillis);
        book.suspect(NO_ANSWER);
        if (!closed) {
          become(TargetState.OVERDUE);
        }
        jobs.failAll(book.refusal());
      }
    }
    // Again and again until the call ends: it may have opened another socket meanwhile.
    dialer.cut();
    if (isReplaced) {
      log.error("target " + name() + ": a thread has not returned from a call that was given up "
          + LOST_MILLIS / 1000 + " s ago, so another thread replaces it; at most " + MAX_LOST
          + " are replaced until one of them returns");
    }
    return nowMillis + times.call() / 4;
  }

  /** Has another thread go on; gives whether there is one. Holds the lock. */
  private boolean replace(long nowMillis) {
    Thread before = worker;
    try {
      start();
    } catch (OutOfMemoryError e) {
      // There is none now; the next look tries again.
      worker = before;
      return false;
    }
    lost++;
    link = null;
    call.end();
    book.failed(NO_ANSWER);
    retry.failed(nowMillis);
    if (!closed) {
      become(TargetState.DOWN);
    }
    jobs.failAll(book.refusal());
    return true;
  }

  /** Whether this thread is lost; if so, it has come back, and ends. */
  private synchronized boolean comesBack() {
    if (!isLost()) {
      return false;
    }
    lost--;
    return true;
  }

  @Override
  public void run() {
    try {
      dialer.adoptThread();
      watchdog.watch(this);
      while (awaitWork()) {
        turn();
      }
      begin(times.call(), false);
      leave("target " + name() + " was disconnected without a clean close: ");
    } catch (InterruptedException e) {
      // Somebody ends this thread: so be it.
      Thread.currentThread().interrupt();
    } finally {
      if (!comesBack()) {
        close();
        dialer.cut();
        leave(null);
        watchdog.forget(this);
      }
    }
  }

  /**
   * Waits until there is something to do; false when the target has been closed, or this thread
   * replaced.
   */
  private synchronized boolean awaitWork() throws InterruptedException {
    while (!closed && !isLost()) {
      long pause = pauseMillis();
      if (pause <= 0) {
        return true;
      }
      wait(pause);
    }
    return false;
  }

  /** How long there is nothing to do, unless somebody comes. The target's thread only. */
  synchronized long pauseMillis() {
    if (link == null) {
      return retry.waitMillis(clock.millis());
    }
    return jobs.isEmpty() ? lastCallMillis + times.heartbeat() - clock.millis() : 0;
  }

  /** Does what there is to do. The target's thread only. */
  void turn() {
    try {
      if (link == null) {
        dial();
      } else {
        work();
      }
    } catch (RuntimeException | Error e) {
      // What the calls throw has been seen to; this came from beside them, as when memory ends.
      finish(FaultText.of(e));
    }
  }

  private void dial() {
    dialer.allow();
    begin(times.dial(), true);
    String error = null;
    Link made = null;
    try {
      made = dialer.dial();
    } catch (Exception | Error e) {
      // An Error too: what one target does to its thread must not end the thread.
      error = FaultText.of(e);
    }
    synchronized (this) {
      if (isLost()) {
        return; // with a connection that was cut before it was made
      }
      link = made;
    }
    if (!finish(error)) {
      appear(false);
      return;
    }
    synchronized (this) {
      if (closed) {
        return;
      }
      become(TargetState.UP);
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
      due = jobs.all();
    }
    if (due.isEmpty()) {
      ping();
      return;
    }
    for (Job<?> job : due) {
      if (link != null) {
        perform(job);
      }
    }
  }

  private <T> void perform(Job<T> job) {
    long start = clock.millis();
    long limit = job.limitMillis(times.call());
    Link used;
    synchronized (this) {
      if (isLost() || !jobs.begin(job)) {
        return;
      }
      used = link;
      begin(limit, false);
    }
    String error = null;
    String cause = null;
    T result = null;
    dialer.bear(limit);
    try {
      result = job.run(used);
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
      jobs.end(job);
      if (refused == null) {
        book.succeeded(job.table(), clock.millis() - start);
        retry.succeeded();
      } else {
        book.failed(refused);
        isNews = job.isAlone() && book.isNewRefusal(cause);
      }
    }
    if (refused == null) {
      job.succeed(result);
    } else {
      job.refuse(refused);
    }
    if (isNews) {
      log.error("target " + name() + ": " + refused);
    }
  }

  private void ping() {
    Link used;
    synchronized (this) {
      if (isLost()) {
        return;
      }
      used = link;
      begin(times.call(), false);
    }
    String error = null;
    try {
      used.ping();
    } catch (IOException | Error e) {
      error = FaultText.of(e);
    } catch (RuntimeException e) {
      // It answered, if only to refuse: that is a sign of life.
    }
    finish(error);
  }

  private synchronized void begin(long limit, boolean dialling) {
    if (isLost()) {
      return;
    }
    call.begin(clock.millis() + limit);
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
      if (isLost()) {
        return false;
      }
      lastCallMillis = clock.millis();
      if (error == null && !call.isOverdue()) {
        call.end();
        return true;
      }
      book.failed(call.isOverdue() ? NO_ANSWER : error);
      retry.failed(lastCallMillis);
      if (!closed) {
        become(TargetState.DOWN);
      }
      jobs.failAll(book.refusal());
      if (book.isNewFault()) {
        report = book.refusal();
      }
      // To leave is a call too: the watchdog goes on cutting until it is over.
      call.giveUp(lastCallMillis);
    }
    dialer.cut();
    leave(null);
    if (report != null) {
      log.error(report);
    }
    return false;
  }

  /**
   * Ends a connection. A broken one, too: if it is listened to, it has a thread that would connect
   * again by itself and deliver each notification once more.
   *
   * @param complaint told when it can't say goodbye; null when that is no news
   */
  private void leave(String complaint) {
    Link left;
    synchronized (this) {
      if (isLost()) {
        return;
      }
      left = link;
      link = null;
    }
    try {
      if (left != null) {
        left.close();
      }
    } catch (Exception | Error e) {
      if (complaint != null) {
        log.info(complaint + FaultText.of(e));
      }
    }
    synchronized (this) {
      if (!isLost()) {
        call.end();
      }
    }
  }

  // Holds the lock.
  private void become(TargetState next) {
    book.become(next, clock.wallMillis());
  }
}
