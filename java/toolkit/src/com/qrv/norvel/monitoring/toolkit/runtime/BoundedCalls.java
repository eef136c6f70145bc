package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.concurrent.Executor;

/**
 * Runs the application's code within deadlines.
 *
 * <p>The caller waits while the code runs on another thread, and goes on when the deadline passes
 * or the agent stops. A call that was given up is interrupted and keeps its keys until it ends:
 * another call with one of them fails at once, so that a stuck piece of code occupies one thread.
 */
final class BoundedCalls {
  private static final long NANOS_PER_MILLI = 1_000_000;
  private static final String STOPPING = "the agent is stopping";

  private final Clock clock;
  private final Executor executor;
  private final AgentLog log;
  private final FatalListener fatalListener;
  private final HashMap<String, Call> running = new HashMap<String, Call>(); // guarded by itself
  private volatile boolean stopping; // set under the lock of running

  /** Told of a fatal failure that came when nobody waited for the call any more. */
  interface FatalListener {
    void lateFatal(String message);
  }

  BoundedCalls(Clock clock, Executor executor, AgentLog log, FatalListener fatalListener) {
    this.clock = clock;
    this.executor = executor;
    this.log = log;
    this.fatalListener = fatalListener;
  }

  /**
   * Runs a task and waits for it.
   *
   * @param what names the task in messages
   * @param keys what the task occupies
   * @throws RequestFailedException when the task fails, runs out of time, finds a key occupied or a
   *     stop comes; critical for a {@link FatalApplicationException}, otherwise ordinary
   */
  void call(String what, String[] keys, long deadlineMs, Task task) throws RequestFailedException {
    Call call = new Call(what, keys, deadlineMs, task, false);
    occupy(call);
    runAndWait(call, executor);
  }

  /**
   * As {@link #call}, on other threads. At most so many calls of one name run at once, those that
   * were given up included.
   */
  void callLimited(Executor threads, String what, int max, long deadlineMs, Task task)
      throws RequestFailedException {
    Call call = new Call(what, new String[1], deadlineMs, task, false);
    occupySlot(call, max, false);
    runAndWait(call, threads);
  }

  /**
   * As {@link #callLimited}, but waits for its turn within the deadline while one of the calls that
   * run may still end in time.
   */
  void callInTurn(Executor threads, String what, int max, long deadlineMs, Task task)
      throws RequestFailedException {
    Call call = new Call(what, new String[1], deadlineMs, task, false);
    occupySlot(call, max, true);
    runAndWait(call, threads);
  }

  /** As {@link #call} without keys, also while the agent stops. */
  void lastCall(String what, long deadlineMs, Task task) throws RequestFailedException {
    runAndWait(new Call(what, new String[0], deadlineMs, task, true), executor);
  }

  /** Ends every wait, now and from here on. May come more than once. */
  void stop() {
    ArrayList<Call> waiting;
    synchronized (running) {
      stopping = true;
      waiting = new ArrayList<Call>(running.values());
      running.notifyAll();
    }
    for (int i = 0; i < waiting.size(); i++) {
      waiting.get(i).wakeWaiter();
    }
  }

  private void occupySlot(Call call, int max, boolean waits) throws RequestFailedException {
    synchronized (running) {
      boolean mayCome = true;
      while (mayCome) {
        refuseWhenStopping(call);
        mayCome = false;
        for (int i = 0; i < max; i++) {
          String slot = call.what + "#" + i;
          Call other = running.get(slot);
          if (other == null) {
            call.keys[0] = slot;
            running.put(slot, call);
            return;
          }
          mayCome |= waits && !other.abandoned;
        }
        mayCome = mayCome && waitForChange(call);
      }
    }
    throw RequestFailedException.ordinary(
        call.what + ": " + max + " of its calls are still running");
  }

  /** Waits until other calls have changed. Under the lock of running. False: no time is left. */
  private boolean waitForChange(Call call) {
    long left = call.end() - clock.nanoTime();
    if (left <= 0) {
      return false;
    }
    try {
      clock.await(running, left);
      return true;
    } catch (InterruptedException interrupt) {
      Thread.currentThread().interrupt();
      return false;
    }
  }

  private void refuseWhenStopping(Call call) throws RequestFailedException {
    if (stopping) {
      throw RequestFailedException.ordinary(call.what + ": " + STOPPING);
    }
  }

  private void occupy(Call call) throws RequestFailedException {
    synchronized (running) {
      refuseWhenStopping(call);
      for (int i = 0; i < call.keys.length; i++) {
        Call other = running.get(call.keys[i]);
        if (other != null) {
          throw RequestFailedException.ordinary(
              call.what
                  + ": still running since "
                  + other.ageMs()
                  + " ms; this request is not served until that ends");
        }
      }
      for (int i = 0; i < call.keys.length; i++) {
        running.put(call.keys[i], call);
      }
    }
  }

  private void release(Call call) {
    synchronized (running) {
      for (int i = 0; i < call.keys.length; i++) {
        running.remove(call.keys[i], call);
      }
      running.notifyAll();
    }
  }

  private void runAndWait(Call call, Executor threads) throws RequestFailedException {
    try {
      threads.execute(call);
    } catch (Throwable failure) {
      release(call);
      throw RequestFailedException.ordinary(
          call.what + ": no thread to run it on: " + Failures.describe(failure));
    }
    String givenUp = call.waitForEnd();
    if (givenUp != null) {
      synchronized (running) {
        running.notifyAll(); // Who waits for this call's place waits no more.
      }
      log.state(call.what + ": " + givenUp);
      String text = call.what + ": " + givenUp;
      throw call.isLate()
          ? RequestFailedException.late(text)
          : RequestFailedException.ordinary(text);
    }
    if (call.failure() != null) {
      throw report(call.what, call.failure());
    }
  }

  /** The native side traces the answer's text, so only what that lacks is logged here. */
  private RequestFailedException report(String what, Throwable failure) {
    String text = what + ": " + Failures.describe(failure);
    if (failure instanceof FatalApplicationException) {
      log.error(what + " failed and ends the agent", failure);
      return RequestFailedException.critical(text);
    }
    if (failure instanceof RuntimeException || failure instanceof Error) {
      log.error(what + " failed", failure); // A mistake of the program: show where.
    } else {
      log.detail(Failures.trace(failure));
    }
    return RequestFailedException.ordinary(text);
  }

  private final class Call implements Runnable {
    final String what;
    final String[] keys;
    private final long deadlineMs;
    private final Task task;
    private final boolean survivesStop;
    private final long begin = clock.nanoTime();
    private Thread worker; // guarded by this, as what follows
    private volatile boolean abandoned; // set under the lock of this
    private boolean ended;
    private boolean late;
    private Throwable failure;

    Call(String what, String[] keys, long deadlineMs, Task task, boolean survivesStop) {
      this.what = what;
      this.keys = keys;
      this.deadlineMs = deadlineMs;
      this.task = task;
      this.survivesStop = survivesStop;
    }

    long end() {
      return begin + deadlineMs * NANOS_PER_MILLI;
    }

    long ageMs() {
      return (clock.nanoTime() - begin) / NANOS_PER_MILLI;
    }

    synchronized void wakeWaiter() {
      notifyAll();
    }

    @Override
    public void run() {
      Throwable thrown = null;
      if (enter()) {
        try {
          task.run();
        } catch (Throwable any) {
          // An Error too: one that left the thread would tell nobody.
          thrown = any;
        }
      }
      // Before the waiter goes on: its requester may ask for the same thing right away.
      release(this);
      if (leave(thrown)) {
        reportLate(thrown);
      }
    }

    private synchronized boolean enter() {
      worker = Thread.currentThread();
      return !abandoned;
    }

    /** Returns whether nobody waits any more. */
    private synchronized boolean leave(Throwable thrown) {
      worker = null;
      Thread.interrupted(); // No interrupt comes after this; one that came must not outlive us.
      failure = thrown;
      ended = true;
      notifyAll();
      return abandoned;
    }

    private void reportLate(Throwable thrown) {
      log.warning(
          what
              + ": ended after "
              + ageMs()
              + " ms, too late; its result is dropped"
              + (thrown == null ? "" : ": " + Failures.describe(thrown)));
      if (thrown instanceof FatalApplicationException) {
        fatalListener.lateFatal(what + ": " + Failures.describe(thrown));
      }
    }

    /** Returns null when the task has ended, otherwise why nobody waits for it any more. */
    synchronized String waitForEnd() {
      while (!ended) {
        if (stopping && !survivesStop) {
          return abandon(STOPPING);
        }
        long left = end() - clock.nanoTime();
        if (left <= 0) {
          late = true;
          return abandon("not done within " + deadlineMs + " ms");
        }
        try {
          clock.await(this, left);
        } catch (InterruptedException interrupt) {
          Thread.currentThread().interrupt();
          return abandon("the wait for it was interrupted");
        }
      }
      return null;
    }

    synchronized boolean isLate() {
      return late;
    }

    synchronized Throwable failure() {
      return failure;
    }

    private String abandon(String reason) {
      abandoned = true;
      if (worker != null) {
        worker.interrupt();
      }
      return reason;
    }
  }
}
