package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.rows;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.sampleBody;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.RejectedExecutionException;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** Samplers that do not return in time. */
class DeadlineTest {
  private static final TableDefinition NODES =
      TableDefinition.builder("NODES")
          .perSubnode()
          .column(Columns.int32("N"))
          .deadlineMs(2000)
          .build();
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).build();

  /** Set while the subnode "stuck" is to block. */
  private volatile boolean blocking = true;

  private volatile RuntimeException lateFailure;
  private final Semaphore entered = new Semaphore(0);
  private final CountDownLatch release = new CountDownLatch(1);
  private final CompletableFuture<String> interrupted = new CompletableFuture<>();
  private final CompletableFuture<String> lateRow = new CompletableFuture<>();
  private final NativeSide agent =
      NativeSide.of(
          declaring(
              it -> {
                it.table(NODES, (request, rows) -> sampleNode(request.subnode(), rows));
                it.table(COUNTS, (request, rows) -> rows.row());
              }));

  private void sampleNode(String subnode, RowSink rows) {
    rows.row().set(1, 1);
    if (subnode.equals("stuck") && blocking) {
      entered.release();
      awaitUninterruptibly();
      try {
        rows.row();
        lateRow.complete("accepted");
      } catch (IllegalStateException refused) {
        lateRow.complete(refused.getMessage());
      }
      if (lateFailure != null) {
        throw lateFailure;
      }
    }
  }

  /** As a read from a socket is: an interrupt is seen, but changes nothing. */
  private void awaitUninterruptibly() {
    while (true) {
      try {
        release.await();
        return;
      } catch (InterruptedException interrupt) {
        interrupted.complete("interrupted");
      }
    }
  }

  @AfterEach
  void releaseTheStuckSampler() {
    release.countDown();
  }

  private CompletableFuture<HashMap<Integer, Object>> stuckSample() throws Exception {
    CompletableFuture<HashMap<Integer, Object>> answer =
        agent.later(2, sampleBody("NODES", "stuck"));
    assertThat(entered.tryAcquire(30, TimeUnit.SECONDS)).isTrue();
    return answer;
  }

  @Test
  void answersAStuckSamplerAtTheDeadlineAndNotBefore() throws Exception {
    agent.init();
    CompletableFuture<HashMap<Integer, Object>> answer = stuckSample();

    agent.clock.advanceMs(1999);
    assertThat(rows(agent.sample("COUNTS"))).hasSize(1);
    assertThat(answer).isNotDone();
    agent.clock.advanceMs(1);

    HashMap<Integer, Object> exception = soon(answer);
    assertThat(exception.get(0)).isEqualTo(3);
    assertThat(body(exception).get(0)).isEqualTo(3);
    assertThat(body(exception).get(1)).isEqualTo("table NODES [stuck]: not done within 2000 ms");
    assertThat(soon(interrupted)).isEqualTo("interrupted");
  }

  @Test
  void answersAtOnceWhileTheSamplerIsStillStuckAndServesAllOthers() throws Exception {
    agent.init();
    CompletableFuture<HashMap<Integer, Object>> first = stuckSample();
    agent.clock.advanceMs(5000);
    soon(first);

    HashMap<Integer, Object> again = agent.sample("NODES", "stuck");
    HashMap<Integer, Object> both = agent.sample("NODES", "well", "stuck");

    assertThat(again.get(0)).isEqualTo(3);
    assertThat(body(again).get(0)).isEqualTo(3);
    assertThat((String) body(again).get(1)).contains("still running since 5000 ms");
    assertThat((String) body(both).get(1)).contains("still running");
    assertThat(entered.availablePermits()).isZero();
    assertThat(rows(agent.sample("NODES", "well"))).hasSize(1);
    assertThat(rows(agent.sample("COUNTS"))).hasSize(1);
  }

  @Test
  void dropsWhatComesAfterTheDeadlineAndServesTheSubnodeAgain() throws Exception {
    agent.init();
    CompletableFuture<HashMap<Integer, Object>> first = stuckSample();
    agent.clock.advanceMs(2000);
    soon(first);
    List<HashMap<Integer, Object>> sent = agent.transport.sent();

    blocking = false;
    release.countDown();
    agent.trace.awaitMessage("too late; its result is dropped");

    assertThat(soon(lateRow)).contains("too late");
    assertThat(agent.transport.sent()).isEqualTo(sent);
    assertThat(rows(agent.sample("NODES", "stuck"))).hasSize(1);
  }

  @Test
  void hidesTheInterruptOfADeadlineFromTheNextSampler() throws Exception {
    CompletableFuture<Boolean> seen = new CompletableFuture<>();
    CountDownLatch in = new CountDownLatch(1);
    CountDownLatch out = new CountDownLatch(1);
    boolean[] first = {true};
    NativeSide oneThread =
        NativeSide.of(
            declaring(
                it ->
                    it.table(
                        COUNTS,
                        (request, rows) -> {
                          if (!first[0]) {
                            seen.complete(Thread.currentThread().isInterrupted());
                            return;
                          }
                          first[0] = false;
                          in.countDown();
                          while (!Thread.currentThread().isInterrupted()) {
                            Thread.onSpinWait();
                          }
                          out.countDown();
                        })));
    oneThread.init();
    CompletableFuture<HashMap<Integer, Object>> answer =
        oneThread.later(2, sampleBody("COUNTS"));
    in.await();
    oneThread.clock.advanceMs(10_000);
    soon(answer);
    out.await();
    oneThread.trace.awaitMessage("too late");

    oneThread.sample("COUNTS");

    assertThat(soon(seen)).isFalse();
  }

  @Test
  void endsTheAgentByNotificationWhenAFatalFailureComesTooLate() throws Exception {
    agent.init();
    agent.start();
    CompletableFuture<HashMap<Integer, Object>> first = stuckSample();
    agent.clock.advanceMs(2000);
    soon(first);

    lateFailure = new FatalApplicationException("licence expired");
    release.countDown();

    agent.trace.awaitMessage("the agent ends");
    assertThat(agent.transport.awaitNotification().get(1)).isEqualTo(16);
  }

  @Test
  void answersWhenThereIsNoThreadForTheSampler() {
    boolean[] full = new boolean[1];
    NativeSide busy =
        NativeSide.of(
            () -> declaring(it -> it.table(COUNTS, (request, rows) -> rows.row())),
            task -> {
              if (full[0]) {
                throw new RejectedExecutionException("all 1 threads are occupied");
              }
              task.run();
            });
    busy.init();
    full[0] = true;

    HashMap<Integer, Object> answer = busy.sample("COUNTS");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat((String) body(answer).get(1)).contains("all 1 threads are occupied");
    full[0] = false;
    assertThat(rows(busy.sample("COUNTS"))).hasSize(1);
  }

  @Test
  void neverRunsASamplerThatWasGivenUpBeforeItBegan() throws Exception {
    Semaphore held = new Semaphore(0);
    CompletableFuture<Runnable> task = new CompletableFuture<>();
    boolean[] hold = new boolean[1];
    boolean[] ran = new boolean[1];
    NativeSide slow =
        NativeSide.of(
            () -> declaring(it -> it.table(COUNTS, (request, rows) -> ran[0] = true)),
            run -> {
              if (hold[0]) {
                task.complete(run);
                held.release();
              } else {
                run.run();
              }
            });
    slow.init();
    hold[0] = true;
    CompletableFuture<HashMap<Integer, Object>> answer = slow.later(2, sampleBody("COUNTS"));
    held.acquire();
    slow.clock.advanceMs(10_000);
    assertThat(soon(answer).get(0)).isEqualTo(3);

    soon(task).run();

    assertThat(ran[0]).isFalse();
  }
}
