package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatExceptionOfType;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.RejectedExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicBoolean;
import org.junit.jupiter.api.Test;

class SerialExecutorTest {
  private final List<String> done = new ArrayList<>();

  @Test
  void goesOnBehindATaskThatThrowsAndThenTellsItsThread() {
    List<Runnable> given = new ArrayList<>();
    SerialExecutor turns = new SerialExecutor(given::add);
    turns.execute(
        () -> {
          throw new OutOfMemoryError("first");
        });
    turns.execute(
        () -> {
          throw new IllegalStateException("second");
        });
    turns.execute(() -> done.add("third"));

    assertThatIllegalStateException()
        .isThrownBy(given.remove(0)::run)
        .withRootCauseInstanceOf(OutOfMemoryError.class);

    assertThat(done).containsExactly("third");
    turns.execute(() -> done.add("fourth"));
    assertThat(given).hasSize(1);
    given.get(0).run();
    assertThat(done).containsExactly("third", "fourth");
  }

  @Test
  void leavesNoTaskBehindThatCameWhileAnotherFoundNoThread() throws Exception {
    CountDownLatch starting = new CountDownLatch(1);
    CountDownLatch secondIsThere = new CountDownLatch(1);
    AtomicBoolean refused = new AtomicBoolean();
    SerialExecutor turns =
        new SerialExecutor(
            task -> {
              if (refused.compareAndSet(false, true)) {
                starting.countDown();
                awaitQuietly(secondIsThere);
                throw new RejectedExecutionException("all threads are occupied");
              }
              task.run();
            });
    Thread second =
        new Thread(
            () -> {
              awaitQuietly(starting);
              turns.execute(() -> done.add("second"));
            });
    second.start();
    Thread watcher =
        new Thread(
            () -> {
              // Either it has been taken at once, or it waits for the start that is under way.
              ThreadStates.awaitTrue(
                  "the second is there",
                  () -> !second.isAlive() || second.getState() == Thread.State.BLOCKED);
              secondIsThere.countDown();
            });
    watcher.start();

    assertThatExceptionOfType(RejectedExecutionException.class)
        .isThrownBy(() -> turns.execute(() -> done.add("first")));

    second.join(TimeUnit.SECONDS.toMillis(30));
    assertThat(done).containsExactly("second");
  }

  private static void awaitQuietly(CountDownLatch latch) {
    try {
      if (!latch.await(30, TimeUnit.SECONDS)) {
        throw new AssertionError("too late");
      }
    } catch (InterruptedException interrupt) {
      throw new AssertionError(interrupt);
    }
  }
}
