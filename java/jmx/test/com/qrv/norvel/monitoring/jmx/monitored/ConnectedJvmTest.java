package com.qrv.norvel.monitoring.jmx.monitored;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

final class ConnectedJvmTest {
  private static final long CALL = 1000;
  private static final long HEARTBEAT = 30_000;

  private final ManualClock clock = new ManualClock();
  private final RecordingLog log = new RecordingLog();
  private final AtomicInteger presences = new AtomicInteger();
  private final AtomicInteger ups = new AtomicInteger();
  private final AtomicInteger failingUps = new AtomicInteger();
  private final TargetObserver observer =
      new TargetObserver() {
        @Override
        public void up(MonitoredJvm target) {
          if (failingUps.getAndUpdate(left -> Math.max(0, left - 1)) > 0) {
            throw new IllegalStateException("on purpose");
          }
          ups.incrementAndGet();
        }

        @Override
        public void presenceChanged() {
          presences.incrementAndGet();
        }
      };
  // A watchdog whose thread never looks by itself: tests look at the time that they choose.
  private final CallWatchdog watchdog = new CallWatchdog(clock, Long.MAX_VALUE / 4);
  private final List<Thread> callers = new ArrayList<>();
  private FakeDialer dialer;
  private ConnectedJvm jvm;

  @AfterEach
  void close() {
    if (jvm != null) {
      jvm.close();
      dialer.cut();
    }
    watchdog.close();
  }

  @Test
  void samplesAndTellsOnceThatItIsUp() throws Exception {
    start(FakeDialer.Mood.ANSWERS);

    Object[][] rows = jvm.sample(StandardTables.GC);

    assertThat(rows).hasSize(1);
    assertThat(rows[0][1]).isEqualTo(42L);
    jvm.sample(StandardTables.GC);
    assertThat(presences).hasValue(1);
    assertThat(jvm.status().state()).isEqualTo(TargetState.UP);
    assertThat(jvm.status().samples()).isEqualTo(2);
    assertThat(jvm.isPresent()).isTrue();
  }

  @Test
  void theTimeOfEachTableIsNoted() throws Exception {
    start(FakeDialer.Mood.ANSWERS);

    jvm.sample(StandardTables.GC);
    jvm.sample(StandardTables.MEMORY);

    assertThat(jvm.status().times())
        .containsExactly(new WorkTime("JVM_GC", 0, 0), new WorkTime("JVM_MEMORY", 0, 0));
  }

  @Test
  void aCallThatHangsFailsItsCallerAtTheDeadlineAndLaterOnesAtOnce() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.HANGS);
    CompletableFuture<Object[][]> first = sampleAsync();
    Await.until("the call hangs", dialer::isHanging);

    clock.advance(CALL - 1);
    watchdog.scan();
    assertThat(first).isNotDone();
    clock.advance(1);
    watchdog.scan();

    assertFails(first, "no answer in time");
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).isInstanceOf(TargetException.class);
    Await.until("it is down", () -> jvm.status().state() == TargetState.DOWN);
    assertThat(dialer.reads).hasValue(2);
  }

  @Test
  void itConnectsAgainWhenTheDelayIsOver() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.BREAKS);
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).hasMessageContaining("read broke");
    assertThat(jvm.status().state()).isEqualTo(TargetState.DOWN);
    assertThat(dialer.dials).hasValue(1);

    dialer.become(FakeDialer.Mood.ANSWERS);
    jvm.retryNow();

    Await.until("it is up", () -> jvm.status().state() == TargetState.UP);
    assertThat(jvm.sample(StandardTables.GC)).hasSize(1);
    assertThat(presences).hasValue(1);
  }

  @Test
  void itIsPresentUntilTheFirstNewAttemptFailsAndAgainWhenItIsUp() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.BREAKS);
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).hasMessageContaining("read broke");
    assertThat(jvm.isPresent()).isTrue();
    assertThat(presences).hasValue(1);

    jvm.retryNow();
    Await.until("it is absent", () -> !jvm.isPresent());
    Await.until("that is told", () -> presences.get() == 2);

    dialer.become(FakeDialer.Mood.ANSWERS);
    jvm.retryNow();
    Await.until("it is present", jvm::isPresent);
    Await.until("that is told", () -> presences.get() == 3);
  }

  @Test
  void aFailedFirstContactIsReportedOnceHoweverOftenItIsTried() throws Exception {
    start(FakeDialer.Mood.BREAKS);
    for (int i = 1; i <= 5; i++) {
      int attempts = i;
      Await.until(
          "attempt " + i,
          () ->
              dialer.dials.get() == attempts && jvm.status().state() == TargetState.DOWN
                  && jvm.status().failures() == attempts);
      jvm.retryNow();
    }

    assertThat(log.errors()).containsExactly("target t is down: dial broke");
    assertThat(jvm.isPresent()).isFalse();
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).hasMessageContaining("dial broke");
  }

  @Test
  void aDialThatHangsIsEndedToo() throws Exception {
    start(FakeDialer.Mood.HANGS);
    Await.until("the dial hangs", dialer::isHanging);

    clock.advance(2 * CALL);
    watchdog.scan();

    Await.until("it is down", () -> jvm.status().state() == TargetState.DOWN);
    assertThat(jvm.status().lastError()).isEqualTo("no answer in time");
  }

  @Test
  void aThreadThatDoesNotComeBackIsReplacedSoThatAGoodProcessIsReachedAgain() throws Exception {
    FakeDialer stuck = new FakeDialer(FakeDialer.Mood.ANSWERS);
    start(stuck);
    jvm.sample(StandardTables.GC);
    stuck.become(FakeDialer.Mood.HANGS_ON);
    CompletableFuture<Object[][]> first = sampleAsync();
    Await.until("the call hangs", stuck::isHanging);
    clock.advance(CALL);
    watchdog.scan();
    assertFails(first, "no answer in time");
    assertThat(jvm.status().state()).isEqualTo(TargetState.OVERDUE);

    clock.advance(ConnectedJvm.LOST_MILLIS);
    stuck.become(FakeDialer.Mood.ANSWERS_OTHERS);
    watchdog.scan();

    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("target t: a thread has not returned");
    jvm.retryNow();
    Await.until("it is up", () -> jvm.status().state() == TargetState.UP);
    assertThat(jvm.sample(StandardTables.GC)).hasSize(1);
    assertThat(stuck.isHanging()).isTrue();

    // What the lost thread was about changes nothing when it comes back.
    stuck.become(FakeDialer.Mood.BREAKS_LOST);
    Await.until("it comes back", () -> !stuck.isHanging());
    assertThat(jvm.sample(StandardTables.GC)).hasSize(1);
    assertThat(stuck.dials).hasValue(2);
  }

  @Test
  void onlySoManyThreadsAreReplaced() throws Exception {
    FakeDialer stuck = new FakeDialer(FakeDialer.Mood.HANGS_ON);
    start(stuck);
    for (int i = 1; i <= ConnectedJvm.MAX_LOST + 1; i++) {
      int attempts = i;
      Await.until("attempt " + i + " hangs", () -> stuck.dials.get() == attempts);
      clock.advance(2 * CALL);
      watchdog.scan();
      Await.until("it is overdue", () -> jvm.status().state() == TargetState.OVERDUE);
      clock.advance(ConnectedJvm.LOST_MILLIS);
      watchdog.scan();
      jvm.retryNow();
    }
    assertThat(jvm.status().state()).isEqualTo(TargetState.OVERDUE);
    assertThat(stuck.dials).hasValue(ConnectedJvm.MAX_LOST + 1);

    stuck.become(FakeDialer.Mood.ANSWERS);
    Await.until("it is up", () -> {
      jvm.retryNow();
      return jvm.status().state() == TargetState.UP;
    });
  }

  @Test
  void callersOfOneTableShareOneCall() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.HANGS);
    CompletableFuture<Object[][]> first = sampleAsync();
    Await.until("the call hangs", dialer::isHanging);
    CompletableFuture<Object[][]> second = sampleAsync();
    CompletableFuture<Object[][]> third = sampleAsync();
    for (Thread caller : callers) {
      Await.until("it waits", () -> caller.getState() == Thread.State.TIMED_WAITING);
    }
    dialer.become(FakeDialer.Mood.ANSWERS);

    assertThat(first.get(10, TimeUnit.SECONDS)).hasSize(1);
    assertThat(second.get(10, TimeUnit.SECONDS)).hasSize(1);
    assertThat(third.get(10, TimeUnit.SECONDS)).hasSize(1);
    assertThat(dialer.reads).hasValue(2);
  }

  @Test
  void aRefusalCostsTheSampleButNotTheConnection() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.REFUSES);

    assertThatThrownBy(() -> jvm.sample(StandardTables.GC))
        .isInstanceOf(TargetException.class)
        .hasMessageContaining("read is refused");

    assertThat(jvm.status().state()).isEqualTo(TargetState.UP);
    dialer.become(FakeDialer.Mood.ANSWERS);
    assertThat(jvm.sample(StandardTables.GC)).hasSize(1);
    assertThat(dialer.dials).hasValue(1);
  }

  @Test
  void closingFailsWhoeverWaitsAndSaysGoodbyeToAHealthyTarget() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);

    jvm.close();

    Await.until("goodbye was said", () -> dialer.goodbyes.get() == 1);
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).isInstanceOf(TargetException.class);
    assertThat(jvm.isPresent()).isFalse();
  }

  @Test
  void aBrokenConnectionIsCutAndThenClosedSoThatNothingOfItLivesOn() throws Exception {
    start(FakeDialer.Mood.ANSWERS);
    jvm.sample(StandardTables.GC);
    dialer.become(FakeDialer.Mood.BREAKS);
    assertThatThrownBy(() -> jvm.sample(StandardTables.GC)).isInstanceOf(TargetException.class);

    Await.until("it is left", () -> dialer.leaves.get() == 1);
    assertThat(dialer.goodbyes).hasValue(0);
  }

  @Test
  void anObserverThatThrowsCostsTheConnectionButNotTheTarget() throws Exception {
    failingUps.set(1);
    start(FakeDialer.Mood.ANSWERS);
    Await.until("it is down", () -> jvm.status().state() == TargetState.DOWN);
    assertThat(jvm.status().lastError()).contains("on purpose");

    jvm.retryNow();

    Await.until("it is up", () -> ups.get() == 1);
  }

  @Test
  void aClosedWatchdogEndsWithTheLastTarget() throws Exception {
    Thread watching = new Thread(watchdog);
    watching.start();
    start(FakeDialer.Mood.ANSWERS);
    Await.until("it is up", () -> ups.get() == 1);

    watchdog.close();
    jvm.close();

    watching.join(30_000);
    assertThat(watching.isAlive()).isFalse();
  }

  @Test
  void anUnusedConnectionIsAskedForASignOfLife() throws Exception {
    dialer = new FakeDialer(FakeDialer.Mood.ANSWERS);
    jvm = make(Clock.SYSTEM, 1);

    jvm.start();

    Await.until("it was asked", () -> dialer.pings.get() > 0);
    dialer.become(FakeDialer.Mood.BREAKS);
    Await.until("it is down", () -> jvm.status().state() == TargetState.DOWN);
  }

  private void start(FakeDialer.Mood mood) {
    start(new FakeDialer(mood));
  }

  private void start(FakeDialer its) {
    dialer = its;
    jvm = make(clock, HEARTBEAT);
    jvm.start();
  }

  private ConnectedJvm make(Clock time, long heartbeat) {
    return new ConnectedJvm(
        new TargetIdentity("t", TargetKind.LOCAL, "Title", 1, "fake:1"),
        new TargetTimes(CALL, 2 * CALL, heartbeat),
        dialer,
        new Retry(60_000, 60_000, new Random(1)),
        watchdog,
        time,
        log,
        observer);
  }

  private CompletableFuture<Object[][]> sampleAsync() {
    CompletableFuture<Object[][]> result = new CompletableFuture<>();
    Thread caller =
        new Thread(
            () -> {
              try {
                result.complete(jvm.sample(StandardTables.GC));
              } catch (TargetException | InterruptedException e) {
                result.completeExceptionally(e);
              }
            });
    caller.setDaemon(true);
    callers.add(caller);
    caller.start();
    return result;
  }

  private static void assertFails(CompletableFuture<Object[][]> result, String message) {
    assertThatThrownBy(() -> result.get(10, TimeUnit.SECONDS))
        .isInstanceOf(ExecutionException.class)
        .hasMessageContaining(message);
  }
}
