package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.ArrayDeque;
import java.util.concurrent.Executor;
import java.util.concurrent.RejectedExecutionException;

/** Runs tasks one after the other, in their order, on whichever thread another executor has. */
final class SerialExecutor implements Executor, Runnable {
  /** How many tasks may wait behind one that does not return. */
  static final int MAX_WAITING = 1000;

  private final Executor threads;
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
    synchronized (this) {
      if (waiting.size() == MAX_WAITING) {
        throw new RejectedExecutionException(MAX_WAITING + " calls wait already");
      }
      waiting.addLast(task);
      if (running) {
        return;
      }
      running = true;
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

  /** Interrupts the task that runs, if one does. */
  synchronized void interrupt() {
    if (worker != null) {
      worker.interrupt();
    }
  }

  @Override
  public void run() {
    Runnable task = next();
    while (task != null) {
      try {
        task.run();
      } finally {
        leave();
      }
      task = next();
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
