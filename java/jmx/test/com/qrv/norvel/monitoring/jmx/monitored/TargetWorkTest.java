package com.qrv.norvel.monitoring.jmx.monitored;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import java.util.Random;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicInteger;
import javax.management.MBeanException;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** What a target does besides samples, and what becomes of it when nobody waits any more. */
final class TargetWorkTest {
  private static final long CALL = 1000;

  private final ManualClock clock = new ManualClock();
  private final RecordingLog log = new RecordingLog();
  // A watchdog whose thread never looks by itself: tests look at the time that they choose.
  private final CallWatchdog watchdog = new CallWatchdog(clock, Long.MAX_VALUE / 4);
  private final FakeDialer dialer = new FakeDialer(FakeDialer.Mood.ANSWERS);
  private ConnectedJvm jvm;

  @AfterEach
  void close() {
    jvm.close();
    dialer.cut();
    watchdog.close();
  }

  @Test
  void otherWorkRunsOnTheTargetsThreadAndCountsAsNoSample() throws Exception {
    start(CALL);

    String thread = jvm.work("look", link -> Thread.currentThread().getName());

    assertThat(thread).isEqualTo("jmx-t");
    assertThat(jvm.status().samples()).isZero();
    assertThat(jvm.status().times()).isEmpty();
  }

  @Test
  void workForLaterIsDoneWithoutAnybodyWaitingAndDroppedWhileTheTargetIsDown() throws Exception {
    start(CALL);
    CompletableFuture<String> done = new CompletableFuture<>();

    jvm.later("listen", link -> done.complete(Thread.currentThread().getName()));

    assertThat(done.get(30, TimeUnit.SECONDS)).isEqualTo("jmx-t");
    dialer.become(FakeDialer.Mood.BREAKS);
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).isInstanceOf(TargetException.class);
    AtomicInteger runs = new AtomicInteger();
    jvm.later("listen", link -> runs.incrementAndGet());
    dialer.become(FakeDialer.Mood.ANSWERS);
    jvm.retryNow();
    awaitUp();
    jvm.sample(StandardTables.GC);
    assertThat(runs).hasValue(0);
  }

  @Test
  void aRefusalThatNobodyWaitsForIsLoggedOnceHoweverOftenItIsRepeated() throws Exception {
    start(CALL);

    for (int i = 1; i <= 3; i++) {
      jvm.later(
          "listen #" + i,
          link -> {
            throw new MBeanException(null, "not allowed");
          });
    }
    Await.until("all are refused", () -> jvm.status().failures() == 3);
    jvm.sample(StandardTables.GC);

    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("listen #1 of t").contains("not allowed");
  }

  @Test
  void workThatTheTargetRefusesCostsItsCallerOnly() throws Exception {
    start(CALL);

    assertThatThrownBy(
            () ->
                jvm.work(
                    "flush",
                    link -> {
                      throw new MBeanException(null, "not now");
                    }))
        .isInstanceOf(TargetException.class)
        .hasMessageContaining("flush of t")
        .hasMessageContaining("not now");

    assertThat(jvm.sample(StandardTables.GC)).hasSize(1);
    assertThat(dialer.dials).hasValue(1);
    assertThat(jvm.status().failures()).isEqualTo(1);
  }

  @Test
  void workWhoseCallersGaveUpBeforeItBeganIsNotDone() throws Exception {
    start(10);
    dialer.become(FakeDialer.Mood.HANGS);
    jvm.later("look", link -> link.read("a:b=c", new String[1]));
    Await.until("the call hangs", dialer::isHanging);
    AtomicInteger runs = new AtomicInteger();

    assertThatThrownBy(() -> jvm.work("flush", link -> runs.incrementAndGet()))
        .isInstanceOfSatisfying(
            TargetException.class,
            e -> assertThat(e.outcome()).isEqualTo(TargetException.Outcome.NOT_DONE))
        .hasMessageContaining("busy with other work");

    CompletableFuture<Object> next = new CompletableFuture<>();
    jvm.later("next", link -> next.complete(""));
    dialer.become(FakeDialer.Mood.ANSWERS);
    next.get(30, TimeUnit.SECONDS);
    assertThat(runs).hasValue(0);
  }

  @Test
  void workThatHasBegunIsNotTakenBackAndItsEndIsUnknown() throws Exception {
    start(10);
    dialer.become(FakeDialer.Mood.HANGS);
    CompletableFuture<Object> done = new CompletableFuture<>();
    TargetWork<Object> work =
        link -> {
          link.ping();
          return done.complete("");
        };
    jvm.later("flush", work);
    Await.until("the call hangs", dialer::isHanging);

    assertThatThrownBy(() -> jvm.work("flush", work))
        .isInstanceOfSatisfying(
            TargetException.class,
            e -> assertThat(e.outcome()).isEqualTo(TargetException.Outcome.UNKNOWN))
        .hasMessageContaining("flush of t has not finished");

    dialer.become(FakeDialer.Mood.ANSWERS);
    done.get(30, TimeUnit.SECONDS);
  }

  @Test
  void workThatSaysSoMayTakeLongerThanACall() throws Exception {
    start(CALL);
    dialer.become(FakeDialer.Mood.HANGS);
    jvm.later("heap", new LongWork<>(link -> link.read("a:b=c", new String[1]), 20 * CALL));
    Await.until("the call hangs", dialer::isHanging);
    assertThat(dialer.borne).isEqualTo(20 * CALL);

    clock.advance(20 * CALL - 1);
    watchdog.scan();
    assertThat(jvm.status().state()).isEqualTo(TargetState.UP);
    clock.advance(1);
    watchdog.scan();

    Await.until("it is down", () -> jvm.status().state() == TargetState.DOWN);
  }

  private void start(long callMillis) throws Exception {
    jvm =
        new ConnectedJvm(
            new TargetIdentity("t", TargetKind.LOCAL, "Title", 1, "fake:1"),
            new TargetTimes(callMillis, 2 * callMillis, 30_000),
            dialer,
            new Retry(60_000, 60_000, new Random(1)),
            watchdog,
            clock,
            log,
            new NoObserver());
    jvm.start();
    awaitUp();
  }

  private void awaitUp() throws Exception {
    Await.until("it is up", () -> jvm.status().state() == TargetState.UP);
  }
}
