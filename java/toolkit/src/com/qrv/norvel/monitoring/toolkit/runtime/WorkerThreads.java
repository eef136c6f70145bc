package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import java.util.ArrayDeque;
import java.util.concurrent.Executor;
import java.util.concurrent.RejectedExecutionException;

/**
 * Daemon threads that run the application's code, made on demand and kept for a while.
 *
 * <p>A task that does not return occupies its own thread and no other: there is no queue. The
 * JDK's pool does the same with some twenty more classes, whose loading the first rows would wait
 * for.
 */
final class WorkerThreads implements Executor {
  private static final long IDLE_NANOS = 60_000_000_000L;

  private final String name;
  private final int max;
  private final Clock clock;
  private final AgentLog log;
  private final ArrayDeque<Worker> idle = new ArrayDeque<Worker>(); // guarded by this
  private int live; // guarded by this
  private int made; // guarded by this

  WorkerThreads(String name, int max, Clock clock, AgentLog log) {
    this.name = name;
    this.max = max;
    this.clock = clock;
    this.log = log;
  }

  /**
   * Runs a task on a thread that is free, or on a new one.
   *
   * @throws RejectedExecutionException when all threads are occupied
   */
  @Override
  public void execute(Runnable task) {
    Worker free;
    int number;
    synchronized (this) {
      free = idle.pollLast();
      if (free == null) {
        if (live == max) {
          throw new RejectedExecutionException("all " + max + " threads are occupied");
        }
        live++;
        made++;
      }
      number = made;
    }
    if (free != null) {
      free.give(task);
    } else {
      startWorker(task, number);
    }
  }

  private void startWorker(Runnable task, int number) {
    boolean started = false;
    try {
      Thread thread = new Thread(new Worker(task), name + "-" + number);
      thread.setDaemon(true);
      thread.setContextClassLoader(ClassLoader.getSystemClassLoader());
      thread.start();
      started = true;
    } finally {
      if (!started) {
        synchronized (this) {
          live--;
        }
      }
    }
  }

  private synchronized void becomeIdle(Worker worker) {
    idle.addLast(worker);
  }

  private synchronized boolean leaveIdle(Worker worker) {
    if (!idle.remove(worker)) {
      return false;
    }
    live--;
    return true;
  }

  private final class Worker implements Runnable {
    private Runnable next; // guarded by this

    Worker(Runnable first) {
      next = first;
    }

    synchronized void give(Runnable task) {
      next = task;
      notifyAll();
    }

    @Override
    public void run() {
      Runnable task = take();
      while (task != null) {
        try {
          task.run();
        } catch (Throwable failure) {
          log.error("a task of the toolkit failed", failure);
        }
        task = null; // Lets go of what the task holds while this thread waits.
        becomeIdle(this);
        task = take();
      }
    }

    private Runnable take() {
      Runnable task = waitForTask();
      // Not idle any more means that a task is on its way to this thread.
      while (task == null && !leaveIdle(this)) {
        task = waitForTask();
      }
      return task;
    }

    private synchronized Runnable waitForTask() {
      long end = clock.nanoTime() + IDLE_NANOS;
      while (next == null) {
        long left = end - clock.nanoTime();
        if (left <= 0) {
          return null;
        }
        try {
          clock.await(this, left);
        } catch (InterruptedException late) {
          // Meant for the task that has ended meanwhile.
          continue;
        }
      }
      Runnable task = next;
      next = null;
      return task;
    }
  }
}
