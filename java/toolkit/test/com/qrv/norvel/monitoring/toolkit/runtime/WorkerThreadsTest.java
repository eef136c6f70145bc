package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatExceptionOfType;

import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.RejectedExecutionException;
import org.junit.jupiter.api.Test;

class WorkerThreadsTest {
  private final ManualClock clock = new ManualClock();
  private final RecordingSink trace = new RecordingSink();
  private final WorkerThreads threads =
      new WorkerThreads("worker", 2, clock, new TraceLog(trace, "TEST", WorkerThreads.class));

  @Test
  void runsTasksOnNamedDaemonThreads() throws Exception {
    Thread thread = threadOf(threads);

    assertThat(thread.getName()).isEqualTo("worker-1");
    assertThat(thread.isDaemon()).isTrue();
    assertThat(thread.getContextClassLoader()).isSameAs(ClassLoader.getSystemClassLoader());
  }

  @Test
  void usesAFreeThreadAgain() throws Exception {
    Thread first = threadOf(threads);
    ThreadStates.awaitWaiting(first);

    assertThat(threadOf(threads)).isSameAs(first);
  }

  @Test
  void refusesATaskWhenAllThreadsAreOccupied() throws Exception {
    CountDownLatch release = new CountDownLatch(1);
    for (int i = 0; i < 2; i++) {
      threads.execute(() -> awaitQuietly(release));
    }

    assertThatExceptionOfType(RejectedExecutionException.class)
        .isThrownBy(() -> threads.execute(() -> {}))
        .withMessage("all 2 threads are occupied");

    release.countDown();
  }

  @Test
  void survivesATaskThatThrows() throws Exception {
    threads.execute(
        () -> {
          throw new StackOverflowError("broken");
        });
    trace.awaitMessage("a task of the toolkit failed");

    assertThat(threadOf(threads)).isNotNull();
  }

  @Test
  void endsAThreadThatHadNothingToDoForAMinute() throws Exception {
    Thread thread = threadOf(threads);
    ThreadStates.awaitWaiting(thread);

    clock.advanceMs(60_000);
    thread.join(30_000);

    assertThat(thread.isAlive()).isFalse();
    assertThat(threadOf(threads).getName()).isEqualTo("worker-2");
  }

  private static Thread threadOf(WorkerThreads threads) throws Exception {
    CompletableFuture<Thread> thread = new CompletableFuture<>();
    threads.execute(() -> thread.complete(Thread.currentThread()));
    return soon(thread);
  }

  private static void awaitQuietly(CountDownLatch latch) {
    try {
      latch.await();
    } catch (InterruptedException interrupt) {
      throw new AssertionError(interrupt);
    }
  }
}
