package com.qrv.norvel.monitoring.jmx.discovery;

import java.io.IOException;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;

/**
 * Looks at what belongs to other people's processes, on a thread that may be lost: its owner can
 * make the look hang for as long as he likes. He loses by it himself: until that look ends, nothing
 * of his is looked at. Used by one thread.
 */
final class Examiner {
  /** So many may hang at the same time; then nothing is looked at until one comes back. */
  static final int MAX_LOST = 8;

  private final long limitMillis;
  private final Map<String, Future<?>> lost = new HashMap<>(); // by owner
  private ExecutorService worker; // null when the last one is lost

  /** @param limitMillis how long a look may take */
  Examiner(long limitMillis) {
    this.limitMillis = limitMillis;
  }

  /** Whether nothing of the owner's can be looked at now. */
  boolean isClosedTo(String owner) {
    lost.values().removeIf(Future::isDone);
    return lost.containsKey(owner) || lost.size() >= MAX_LOST;
  }

  /**
   * Takes a look.
   *
   * @throws IOException what the look throws, or that it took too long
   */
  <T> T look(String owner, Callable<T> look) throws IOException, InterruptedException {
    if (worker == null) {
      worker = Executors.newSingleThreadExecutor(Examiner::thread);
    }
    Future<T> answer = worker.submit(look);
    try {
      return answer.get(limitMillis, TimeUnit.MILLISECONDS);
    } catch (TimeoutException e) {
      lost.put(owner, answer);
      worker.shutdown(); // The thread ends with this look, if ever.
      worker = null;
      throw new IOException("the look at it takes more than " + limitMillis + " ms", e);
    } catch (ExecutionException e) {
      throw new IOException(e.getCause().getMessage(), e);
    }
  }

  /** Lets the thread end. */
  void close() {
    if (worker != null) {
      worker.shutdown();
    }
  }

  private static Thread thread(Runnable work) {
    Thread thread = new Thread(null, work, "jmx-examiner", 256 * 1024);
    thread.setDaemon(true);
    return thread;
  }
}
