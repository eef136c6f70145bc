package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.sampleBody;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** From init to shutdown. */
class LifecycleTest {
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).build();

  /** Keeps what it is told, and the agent. */
  private static class Witness implements Application {
    final List<String> events = new ArrayList<>(); // guarded by this
    Agent agent;

    @Override
    public void configure(Agent given) throws Exception {
      agent = given;
      note("configured");
    }

    @Override
    public void started() throws Exception {
      note("started");
    }

    @Override
    public void stopped() {
      note("stopped");
    }

    synchronized void note(String event) {
      events.add(event);
    }

    synchronized List<String> events() {
      return new ArrayList<>(events);
    }
  }

  @Test
  void takesTheApplicationThroughItsLife() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);

    side.init();
    side.start();
    HashMap<Integer, Object> answer = side.request(4, null);

    assertThat(application.events()).containsExactly("configured", "started", "stopped");
    assertThat(answer.get(0)).isEqualTo(1);
    assertThat(body(answer)).isEmpty();
  }

  @Test
  void configuresOnceAndStartsOnce() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);

    side.init();
    HashMap<Integer, Object> second = side.init();
    side.start();
    side.start();

    assertThat(second.get(0)).isEqualTo(3);
    assertThat(application.events()).containsExactly("configured", "started");
  }

  @Test
  void answersInitWithTheReasonWhyTheApplicationFailed() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  throw new java.io.IOException("jmx.yaml:3: no such key");
                }));

    HashMap<Integer, Object> answer = side.init();

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat((String) body(answer).get(1)).contains("jmx.yaml:3: no such key");
    assertThat(side.sample("COUNTS").get(0)).isEqualTo(3);
  }

  @Test
  void answersInitWithSeverityOneForAFatalFailure() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  throw new FatalApplicationException("no licence");
                }));

    assertThat(body(side.init()).get(0)).isEqualTo(1);
  }

  /** Not an application. */
  public static final class Stranger {}

  /** An application that only the package may make. */
  public static final class Hidden implements Application {
    Hidden() {}

    @Override
    public void configure(Agent agent) {}
  }

  /** An application that fails when it is made. */
  public static final class Failing implements Application {
    public Failing() {
      throw new IllegalStateException("not today");
    }

    @Override
    public void configure(Agent agent) {}
  }

  /** A good one. */
  public static final class Good implements Application {
    @Override
    public void configure(Agent agent) {
      agent.table(COUNTS, (request, rows) -> rows.row());
    }
  }

  @ParameterizedTest
  @CsvSource({
    ", add -Dzel.application=CLASS to the JVM options file",
    "no.such.Class, application class no.such.Class is not on the class path",
    "$Stranger, does not implement com.qrv.norvel.monitoring.toolkit.agent.Application",
    "$Hidden, must be public",
    "$Failing, not today"
  })
  void saysWhatIsWrongWithTheApplicationsName(String name, String text) {
    NativeSide side = NativeSide.of(new NamedApplication(expand(name)), Runnable::run);

    HashMap<Integer, Object> answer = side.init();

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat((String) body(answer).get(1)).contains(text);
  }

  @Test
  void findsTheApplicationByItsName() {
    NativeSide side = NativeSide.of(new NamedApplication(expand("$Good")), Runnable::run);
    side.init();

    assertThat(NativeSide.rows(side.sample("COUNTS"))).hasSize(1);
  }

  private static String expand(String name) {
    return name != null && name.startsWith("$") ? LifecycleTest.class.getName() + name : name;
  }

  @Test
  void takesDeclarationsOnlyWhileTheApplicationIsConfigured() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();

    assertThatIllegalStateException()
        .isThrownBy(() -> application.agent.table(COUNTS, (request, rows) -> {}))
        .withMessageContaining("too late");
    assertThatIllegalStateException().isThrownBy(() -> application.agent.affinities("A", "B"));
  }

  @Test
  void refusesATableThatIsDeclaredTwice() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  it.table(COUNTS, (request, rows) -> {});
                  assertThatIllegalArgumentException()
                      .isThrownBy(() -> it.table(COUNTS, (request, rows) -> {}));
                  assertThatIllegalArgumentException()
                      .isThrownBy(
                          () ->
                              it.table(
                                  TableDefinition.builder("B").column(Columns.int32("N")).build(),
                                  null));
                }));

    assertThat(side.init().get(0)).isEqualTo(1);
  }

  @Test
  void keepsTheAgentWhenTheApplicationFailsAtItsStart() throws Exception {
    NativeSide side =
        NativeSide.inline(
            new Witness() {
              @Override
              public void configure(Agent given) {
                given.table(COUNTS, (request, rows) -> rows.row());
              }

              @Override
              public void started() {
                throw new StackOverflowError("broken");
              }
            });
    side.init();

    side.start();

    side.trace.awaitMessage("the application failed once the agent was up");
    assertThat(side.transport.ofType(2)).isEmpty();
    assertThat(NativeSide.rows(side.sample("COUNTS"))).hasSize(1);
  }

  @Test
  void endsTheAgentWhenTheApplicationCannotGoOnAtItsStart() {
    NativeSide side =
        NativeSide.inline(
            new Witness() {
              @Override
              public void started() {
                throw new FatalApplicationException("broken");
              }
            });
    side.init();

    side.start();

    assertThat(side.transport.ofType(2)).hasSize(1);
    assertThat(side.transport.ofType(2).get(0).get(1)).isEqualTo(16);
  }

  @Test
  void holdsNotificationsBackUntilTheAgentIsUp() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    application.agent.subnodes().register(new Subnode("earth", "AFF", "info", "x"));
    application.agent.subnodes().register(Subnode.named("mars"));
    application.agent.subnodes().deregister("earth");
    assertThat(side.transport.ofType(2)).isEmpty();

    side.start();
    application.agent.subnodes().register(Subnode.named("venus"));

    List<HashMap<Integer, Object>> sent = side.transport.ofType(2);
    assertThat(sent).extracting(it -> it.get(1)).containsExactly(10, 10, 11, 10);
    assertThat(sent).allSatisfy(it -> assertThat(it).containsOnlyKeys(0, 1, 3));
    HashMap<Integer, Object> earth = new HashMap<>();
    earth.put(0, "earth");
    earth.put(1, "AFF");
    earth.put(2, "info");
    earth.put(3, "x");
    assertThat(body(sent.get(0))).isEqualTo(earth);
    HashMap<Integer, Object> gone = new HashMap<>();
    gone.put(0, "earth");
    assertThat(body(sent.get(2))).isEqualTo(gone);
    assertThat(application.agent.subnodes().registered()).containsExactly("mars", "venus");
  }

  @Test
  void registersASubnodeOnce() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();

    assertThat(application.agent.subnodes().register(Subnode.named("earth"))).isTrue();
    assertThat(application.agent.subnodes().register(Subnode.named("earth"))).isFalse();
    assertThat(application.agent.subnodes().deregister("earth")).isTrue();
    assertThat(application.agent.subnodes().deregister("earth")).isFalse();

    assertThat(side.transport.ofType(2)).hasSize(2);
  }

  @Test
  void registersASubnodeAgainWhenItIsRenewed() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();

    assertThat(application.agent.subnodes().renew(Subnode.named("earth"))).isFalse();
    application.agent.subnodes().register(Subnode.named("earth"));
    assertThat(application.agent.subnodes().renew(new Subnode("earth", "AFF", "info", "x")))
        .isTrue();

    List<HashMap<Integer, Object>> sent = side.transport.ofType(2);
    assertThat(sent).extracting(it -> it.get(1)).containsExactly(10, 10);
    assertThat(body(sent.get(1)).get(2)).isEqualTo("info");
    assertThat(application.agent.subnodes().registered()).containsExactly("earth");
  }

  @Test
  void refusesMoreNotificationsThanMayWait() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    for (int i = 0; i < NotificationSender.MAX_PENDING; i++) {
      application.agent.subnodes().register(Subnode.named("node " + i));
    }

    assertThatIllegalStateException()
        .isThrownBy(() -> application.agent.subnodes().register(Subnode.named("one more")))
        .withMessageContaining("10000");
    assertThat(application.agent.subnodes().registered()).doesNotContain("one more");
  }

  @Test
  void asksTheNativeSideToStopWithABodyInTheMessage() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();

    application.agent.stop("done");

    HashMap<Integer, Object> sent = side.transport.ofType(2).get(0);
    assertThat(sent.get(1)).isEqualTo(16);
    assertThat(body(sent)).isEmpty();
    assertThat(side.trace.messages())
        .containsExactly("The application asks the agent to end: done");
    assertThat(side.trace.entries().get(0).classes()).isZero();
  }

  @Test
  void marksAnEndThatTheApplicationHasAskedForUnlessTheWishCameTooLate() {
    System.clearProperty(RunningAgent.STOP_REASON);
    Witness late = new Witness();
    NativeSide ended = NativeSide.inline(late);
    ended.init();
    ended.start();
    ended.request(4, null);
    late.agent.stop("late");
    assertThat(System.getProperty(RunningAgent.STOP_REASON)).isNull();

    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();
    application.agent.stop("done");
    assertThat(System.getProperty(RunningAgent.STOP_REASON)).isEqualTo("done");
    System.clearProperty(RunningAgent.STOP_REASON);
  }

  @Test
  void sendsNoNotificationOnceTheAgentStops() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    application.agent.subnodes().register(Subnode.named("waits"));
    side.request(4, null);

    application.agent.subnodes().register(Subnode.named("late"));
    application.agent.stop("late");
    side.start();

    assertThat(side.transport.ofType(2)).isEmpty();
    assertThat(application.events()).containsExactly("configured", "stopped");
  }

  @Test
  void sendsNoNotificationAfterTheAgentWasUp() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();
    side.request(4, null);

    application.agent.subnodes().register(Subnode.named("late"));

    assertThat(side.transport.ofType(2)).isEmpty();
  }

  @Test
  void answersAShutdownThatComesTwice() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);
    side.init();
    side.start();

    assertThat(side.request(4, null).get(0)).isEqualTo(1);
    assertThat(side.request(4, null).get(0)).isEqualTo(1);

    assertThat(application.events()).containsExactly("configured", "started", "stopped");
  }

  @Test
  void answersAShutdownThatComesBeforeAnythingElse() {
    Witness application = new Witness();
    NativeSide side = NativeSide.inline(application);

    assertThat(side.request(4, null).get(0)).isEqualTo(1);
    assertThat(side.init().get(0)).isEqualTo(3);
    side.start();

    assertThat(application.events()).isEmpty();
  }

  @Test
  void answersEverySampleThatWaitsWhenShutdownComes() throws Exception {
    CountDownLatch entered = new CountDownLatch(2);
    CountDownLatch never = new CountDownLatch(1);
    CompletableFuture<String> ended = new CompletableFuture<>();
    // In real time and with a deadline of an hour, so that only a wake-up ends the waits.
    NativeSide side =
        NativeSide.inRealTime(
            declaring(
                it -> {
                  it.table(patient("COUNTS"), (request, rows) -> block(entered, never, ended));
                  it.table(patient("OTHER"), (request, rows) -> block(entered, never, ended));
                }));
    side.init();
    side.start();
    CompletableFuture<HashMap<Integer, Object>> first = side.later(2, sampleBody("COUNTS"));
    CompletableFuture<HashMap<Integer, Object>> second = side.later(2, sampleBody("OTHER"));
    entered.await();

    HashMap<Integer, Object> shutdown = side.request(4, null);

    assertThat(shutdown.get(0)).isEqualTo(1);
    assertThat(body(soon(first)).get(1)).isEqualTo("table COUNTS: the agent is stopping");
    assertThat(body(soon(second)).get(0)).isEqualTo(3);
    assertThat(soon(ended)).isEqualTo("interrupted");
    assertThat((String) body(side.sample("COUNTS")).get(1)).contains("the agent is stopping");
  }

  private static TableDefinition patient(String name) {
    return TableDefinition.builder(name).column(Columns.int32("N")).deadlineMs(3_600_000).build();
  }

  private static void block(
      CountDownLatch entered, CountDownLatch never, CompletableFuture<String> ended) {
    entered.countDown();
    try {
      never.await();
    } catch (InterruptedException interrupt) {
      ended.complete("interrupted");
    }
  }

  @Test
  void answersShutdownThoughTheApplicationDoesNotEnd() throws Exception {
    CountDownLatch entered = new CountDownLatch(1);
    CountDownLatch never = new CountDownLatch(1);
    NativeSide side =
        NativeSide.of(
            new Witness() {
              @Override
              public void stopped() {
                block(entered, never, new CompletableFuture<>());
              }
            });
    side.init();
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(4, null);
    entered.await();

    side.clock.advanceMs(ApplicationLife.STOP_MS);

    assertThat(soon(answer).get(0)).isEqualTo(1);
    side.trace.awaitMessage("the stop of the application: not done within 5000 ms");
  }

  @Test
  void answersInitThoughTheApplicationDoesNotComeBack() throws Exception {
    CountDownLatch entered = new CountDownLatch(1);
    CountDownLatch never = new CountDownLatch(1);
    NativeSide side =
        NativeSide.of(declaring(it -> block(entered, never, new CompletableFuture<>())));
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(0, NativeSide.initBody());
    entered.await();

    side.clock.advanceMs(ApplicationLife.CONFIGURE_MS);

    assertThat((String) body(soon(answer)).get(1)).contains("not done within 60000 ms");
  }

  @Test
  void runsTheStartOnAThreadOfItsOwn() throws Exception {
    CompletableFuture<Thread> started = new CompletableFuture<>();
    NativeSide side =
        NativeSide.of(
            new Witness() {
              @Override
              public void started() {
                started.complete(Thread.currentThread());
              }
            });
    side.init();

    side.start();

    assertThat(soon(started)).isNotSameAs(Thread.currentThread());
    assertThat(soon(started).isDaemon()).isTrue();
  }
}
