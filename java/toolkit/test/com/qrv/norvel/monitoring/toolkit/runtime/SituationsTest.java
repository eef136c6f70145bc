package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.rows;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.Condition;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import org.junit.jupiter.api.Test;

/** Who watches the tables. */
class SituationsTest {
  private static final TableDefinition LOG =
      TableDefinition.builder("LOG").events().deadlineMs(2000).build();
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).build();

  /** Keeps what it is told. */
  private static class Witness implements SituationHandler {
    final List<String> told = new ArrayList<>(); // guarded by this
    Situation last; // guarded by this

    @Override
    public synchronized void armed(Situation situation) throws Exception {
      told.add("+" + situation.name());
      last = situation;
    }

    @Override
    public synchronized void disarmed(Situation situation) throws Exception {
      told.add("-" + situation.name());
    }

    synchronized List<String> told() {
      return new ArrayList<>(told);
    }
  }

  private final Witness witness = new Witness();
  private EventTable log;

  private NativeSide inline(SituationHandler handler) {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  log = it.eventTable(LOG, handler);
                  it.table(COUNTS, (request, rows) -> rows.row());
                  it.onSituation(handler);
                }));
    side.init();
    return side;
  }

  private static HashMap<Integer, Object> armBody(String name, boolean start) {
    HashMap<Integer, Object> body = NativeSide.sampleBody("LOG");
    body.put(8, name);
    body.put(9, 30);
    body.put(10, start);
    return body;
  }

  private static HashMap<Integer, Object> arm(NativeSide side, String name) {
    return side.request(6, armBody(name, true));
  }

  private static void changed(NativeSide side, String table, String name, boolean started) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, name);
    body.put(1, table);
    body.put(2, started ? 1 : 0);
    body.put(3, 60);
    body.put(4, true);
    body.put(5, false);
    side.oneWay(7, body);
  }

  private static void started(NativeSide side, String name) {
    changed(side, "LOG", name, true);
  }

  private static void stopped(NativeSide side, String name) {
    changed(side, "LOG", name, false);
  }

  @Test
  void answersWithAnEmptyListOfRows() {
    HashMap<Integer, Object> answer = arm(inline(witness), "A");

    assertThat(rows(answer)).isEmpty();
    assertThat(body(answer)).hasSize(1);
  }

  @Test
  void handsTheWholeRequestToTheHandler() {
    HashMap<Integer, Object> condition = new HashMap<>();
    condition.put(2, "N");
    condition.put(3, "7");
    condition.put(11, 4);
    HashMap<Integer, Object> body = armBody("A", true);
    body.put(1, new ArrayList<>(Arrays.asList(condition)));
    body.put(5, new ArrayList<>(Arrays.asList("earth   ")));
    body.put(6, true);
    body.put(7, true);

    inline(witness).request(6, body);

    assertThat(witness.last)
        .isEqualTo(
            new Situation(
                "A",
                "LOG",
                30,
                true,
                true,
                List.of(new Condition("N", 4, "7")),
                List.of("earth")));
  }

  @Test
  void tellsOfOneSituationOnceWhicheverNewsComesFirst() {
    NativeSide side = inline(witness);

    arm(side, "A");
    started(side, "A");
    started(side, "B");
    assertThat(witness.told()).containsExactly("+A");
    arm(side, "B");
    stopped(side, "A");
    assertThat(log.isArmed()).isTrue();
    stopped(side, "B");

    assertThat(witness.told()).containsExactly("+A", "+B", "-A", "-B");
    assertThat(log.isArmed()).isFalse();
  }

  @Test
  void keepsASituationOfSeveralWatchesUntilTheLastEnds() {
    NativeSide side = inline(witness);
    arm(side, "A");
    started(side, "A");
    started(side, "A");
    arm(side, "A");

    stopped(side, "A");
    assertThat(witness.told()).containsExactly("+A");
    assertThat(log.isArmed()).isTrue();
    stopped(side, "A");

    assertThat(witness.told()).containsExactly("+A", "-A");
    assertThat(log.isArmed()).isFalse();
  }

  @Test
  void tellsOfASituationThatComesAgain() {
    NativeSide side = inline(witness);
    for (int i = 0; i < 2; i++) {
      started(side, "A");
      arm(side, "A");
      stopped(side, "A");
    }

    assertThat(witness.told()).containsExactly("+A", "-A", "+A", "-A");
  }

  @Test
  void countsAnEndOnceThoughItIsAlsoAskedFor() {
    NativeSide side = inline(witness);
    arm(side, "A");
    started(side, "A");
    arm(side, "A");
    started(side, "A");

    HashMap<Integer, Object> answer = side.request(6, armBody("A", false));
    stopped(side, "A");

    assertThat(rows(answer)).isEmpty();
    assertThat(log.isArmed()).isTrue();
  }

  @Test
  void staysArmedForAWatchWhoseStartIsStillToCome() {
    NativeSide side = inline(witness);
    arm(side, "A");
    started(side, "A");
    arm(side, "A");

    stopped(side, "A");

    assertThat(log.isArmed()).isTrue();
    assertThat(witness.told()).containsExactly("+A");
  }

  @Test
  void isArmedThoughTheRequestNeverCame() {
    NativeSide side = inline(witness);

    started(side, "A");
    assertThat(log.isArmed()).isTrue();
    stopped(side, "A");

    assertThat(log.isArmed()).isFalse();
    assertThat(witness.told()).isEmpty();
  }

  @Test
  void takesARequestWithoutANameForNobody() {
    NativeSide side = inline(witness);

    assertThat(rows(arm(side, ""))).isEmpty();

    assertThat(log.isArmed()).isFalse();
    assertThat(witness.told()).isEmpty();
  }

  @Test
  void ignoresTheEndOfASituationThatItDoesNotKnow() {
    NativeSide side = inline(witness);

    stopped(side, "A");
    changed(side, "STRANGE", "A", true);

    assertThat(log.isArmed()).isFalse();
    assertThat(witness.told()).isEmpty();
  }

  @Test
  void knowsTheSubscriptionOfTheAgentItself() {
    NativeSide side = inline(witness);

    arm(side, Situation.SUBSCRIPTION);

    assertThat(witness.last.isSubscription()).isTrue();
    assertThat(log.isArmed()).isTrue();
  }

  @Test
  void tellsOfSituationsOnSampledTables() {
    NativeSide side = inline(witness);

    changed(side, "COUNTS", "A", true);
    changed(side, "COUNTS", "A", true);
    changed(side, "COUNTS", "A", false);
    assertThat(witness.told()).containsExactly("+A");
    changed(side, "COUNTS", "A", false);

    assertThat(witness.told()).containsExactly("+A", "-A");
    assertThat(witness.last)
        .isEqualTo(new Situation("A", "COUNTS", 60, true, false, List.of(), List.of()));
  }

  @Test
  void refusesToArmATableWithoutEvents() {
    HashMap<Integer, Object> body = armBody("A", true);
    body.put(0, "COUNTS");

    HashMap<Integer, Object> answer = inline(witness).request(6, body);

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(1)).isEqualTo("table COUNTS has no events");
  }

  @Test
  void countsWithoutAHandlerToo() {
    NativeSide side = NativeSide.inline(declaring(it -> log = it.eventTable(LOG)));
    side.init();

    assertThat(rows(arm(side, "A"))).isEmpty();
    started(side, "A");
    assertThat(log.isArmed()).isTrue();
    stopped(side, "A");

    assertThat(log.isArmed()).isFalse();
  }

  @Test
  void answersWithTheFailureOfAHandlerAndCountsAllTheSame() {
    NativeSide side =
        inline(
            new Witness() {
              @Override
              public synchronized void armed(Situation situation) throws Exception {
                throw new StackOverflowError("broken");
              }
            });

    HashMap<Integer, Object> answer = arm(side, "A");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat(body(answer).get(1))
        .isEqualTo("situation A on table LOG: java.lang.StackOverflowError: broken");
    assertThat(log.isArmed()).isTrue();
    assertThat(side.trace.messages().get(0))
        .contains("situation A on table LOG could not be armed");
  }

  @Test
  void endsTheAgentWhenAHandlerCannotGoOn() throws Exception {
    NativeSide side =
        inline(
            new Witness() {
              @Override
              public void disarmed(Situation situation) {
                throw new FatalApplicationException("licence expired");
              }
            });
    side.start();
    arm(side, "A");
    started(side, "A");
    stopped(side, "A");

    assertThat(side.transport.awaitNotifications(16, 1)).hasSize(1);
  }

  @Test
  void takesOneHandlerForSampledTables() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  it.onSituation(witness);
                  assertThatIllegalStateException().isThrownBy(() -> it.onSituation(witness));
                }));

    assertThat(side.init().get(0)).isEqualTo(1);
  }

  /** Blocks while the situation "stuck" is armed. */
  private static final class Stuck extends Witness {
    final CountDownLatch entered = new CountDownLatch(1);
    final CountDownLatch release = new CountDownLatch(1);
    final CompletableFuture<String> interrupted = new CompletableFuture<>();

    @Override
    public void armed(Situation situation) throws Exception {
      if (situation.name().equals("stuck")) {
        entered.countDown();
        awaitUninterruptibly();
      }
      super.armed(situation);
    }

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
  }

  private NativeSide threaded(SituationHandler handler) {
    NativeSide side =
        NativeSide.of(
            declaring(
                it -> {
                  log = it.eventTable(LOG, handler);
                  it.table(COUNTS, (request, rows) -> rows.row());
                }));
    side.init();
    return side;
  }

  @Test
  void answersAStuckHandlerAtTheDeadlineAndServesSamplesMeanwhile() throws Exception {
    Stuck stuck = new Stuck();
    NativeSide side = threaded(stuck);
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(6, armBody("stuck", true));
    stuck.entered.await();

    assertThat(rows(side.sample("COUNTS"))).hasSize(1);
    assertThat(answer).isNotDone();
    side.clock.advanceMs(2000);

    assertThat(soon(answer).get(0)).isEqualTo(3);
    assertThat(body(soon(answer)).get(0)).isEqualTo(3);
    assertThat(body(soon(answer)).get(1))
        .isEqualTo("situation stuck on table LOG: not done within 2000 ms");
    assertThat(soon(stuck.interrupted)).isEqualTo("interrupted");
    stuck.release.countDown();
  }

  @Test
  void tellsLaterOnWhatAStuckHandlerMissed() throws Exception {
    Stuck stuck = new Stuck();
    NativeSide side = threaded(stuck);
    CompletableFuture<HashMap<Integer, Object>> first = side.later(6, armBody("stuck", true));
    stuck.entered.await();
    CompletableFuture<HashMap<Integer, Object>> second = side.later(6, armBody("B", true));
    ThreadStates.awaitTrue(
        "answered",
        () -> {
          side.clock.advanceMs(2000);
          return first.isDone() && second.isDone();
        });
    started(side, "stuck");
    stopped(side, "stuck");

    stuck.release.countDown();

    ThreadStates.awaitTrue("told", () -> stuck.told().size() >= 3);
    assertThat(soon(second).get(0)).isEqualTo(3);
    assertThat(stuck.told()).containsExactly("+stuck", "+B", "-stuck");
  }

  @Test
  void answersRequestsThatWaitWhenShutdownComes() throws Exception {
    Stuck stuck = new Stuck();
    NativeSide side = threaded(stuck);
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(6, armBody("stuck", true));
    stuck.entered.await();

    side.request(4, null);

    assertThat((String) body(soon(answer)).get(1)).contains("the agent is stopping");
    stuck.release.countDown();
  }
}
