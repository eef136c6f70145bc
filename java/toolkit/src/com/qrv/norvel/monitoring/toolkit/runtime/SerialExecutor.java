package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.ArrayDeque;
import java.util.concurrent.Executor;
import java.util.concurrent.RejectedExecutionException;

/**
 * Runs tasks one after the other, in their order, on whichever thread another executor has.
 *
 * <p>A task that throws does not hold up those behind it; the thread gets to know when they are
 * done.
 */
final class SerialExecutor implements Executor, Runnable {
  /** How many tasks may wait behind one that does not return. */
  static final int MAX_WAITING = 1000;

  private final Executor threads;
  private final Object starting = new Object();
  private final ArrayDeque<Runnable> waiting = new ArrayDeque<Runnable>(); // guarded by this
  private boolean running; // guarded by this
  private Thread worker; // guarded by this; the thread that a task runs on

  SerialExecutor(Executor threads) {
    this.threads = threads;
  }

  /**
   * Appends a task.
   *
   * @throws RejectedExecutionException when too many wait or no thread is free
   */
  @Override
  public void execute(Runnable task) {
    // One at a time: a task that came while another one's thread is being started could be taken
    // for one that has a thread, and would be left behind when there is none.
    synchronized (starting) {
      if (!add(task)) {
        return;
      }
      boolean started = false;
      try {
        threads.execute(this);
        started = true;
      } finally {
        if (!started) {
          giveUp(task);
        }
      }
    }
  }

  /** Returns whether it needs a thread. */
  private synchronized boolean add(Runnable task) {
    if (waiting.size() == MAX_WAITING) {
      throw new RejectedExecutionException(MAX_WAITING + " calls wait already");
    }
    waiting.addLast(task);
    boolean needsThread = !running;
    running = true;
    return needsThread;
  }

  /** Interrupts the task that runs, if one does. */
  synchronized void interrupt() {
    if (worker != null) {
      worker.interrupt();
    }
  }

  @Override
  public void run() {
    Throwable failure = null;
    Runnable task = next();
    while (task != null) {
      try {
        task.run();
      } catch (Throwable thrown) {
        failure = failure == null ? thrown : failure;
      } finally {
        leave();
      }
      task = next();
    }
    if (failure != null) {
      throw new IllegalStateException("a task failed", failure);
    }
  }

  private synchronized Runnable next() {
    Runnable task = waiting.pollFirst();
    running = task != null;
    worker = running ? Thread.currentThread() : null;
    return task;
  }

  /** No interrupt comes after this; one that came must not reach the next task. */
  private synchronized void leave() {
    worker = null;
    Thread.interrupted();
  }

  private synchronized void giveUp(Runnable task) {
    running = false;
    waiting.removeLastOccurrence(task);
  }
}
