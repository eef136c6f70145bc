package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.rows;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatExceptionOfType;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.EventWriter;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import org.junit.jupiter.api.Test;

/** Rows that an application pushes. */
class EventTablesTest {
  private static final int EVENTS = 13;
  private static final TableDefinition LOG =
      TableDefinition.builder("LOG").events().column(Columns.int32("N")).maxQueued(3).build();
  private static final TableDefinition WIDE =
      TableDefinition.builder("WIDE").events().column(Columns.int32("N")).maxQueued(200_000)
          .build();
  private static final TableDefinition NODES =
      TableDefinition.builder("NODES")
          .perSubnode()
          .events()
          .column(Columns.characters("TEXT", 4))
          .build();

  private static final class Source implements Application {
    private final TableDefinition[] tables;
    Agent agent;
    final List<EventTable> events = new ArrayList<>();

    Source(TableDefinition... tables) {
      this.tables = tables;
    }

    @Override
    public void configure(Agent given) {
      agent = given;
      for (TableDefinition table : tables) {
        events.add(given.eventTable(table));
      }
    }
  }

  private final Source source = new Source(LOG, NODES, WIDE);
  private final NativeSide side = NativeSide.inline(source);

  private EventTable configured(TableDefinition table) {
    assertThat(side.init().get(0)).isEqualTo(1);
    return source.events.get(List.of(LOG, NODES, WIDE).indexOf(table));
  }

  private static EventWriter number(int n) {
    return row -> row.set(1, n);
  }

  /** The events of a batch as "number:N". */
  private static List<String> events(HashMap<Integer, Object> notification) {
    List<String> events = new ArrayList<>();
    for (Object row : (ArrayList<?>) body(notification).get(1)) {
      ByteBuffer bytes = ByteBuffer.wrap((byte[]) row).order(ByteOrder.nativeOrder());
      events.add(bytes.getLong(0) + ":" + bytes.getInt(8));
    }
    return events;
  }

  private List<String> allEvents() {
    List<String> events = new ArrayList<>();
    for (HashMap<Integer, Object> batch : side.transport.notifications(EVENTS)) {
      events.addAll(events(batch));
    }
    return events;
  }

  @Test
  void registersThemAsPushedWithTheColumnOfNumbers() {
    ArrayList<?> tables = (ArrayList<?>) body(side.init()).get(8);

    HashMap<?, ?> log = (HashMap<?, ?>) tables.get(0);
    HashMap<?, ?> sequence = (HashMap<?, ?>) ((ArrayList<?>) log.get(9)).get(0);
    HashMap<?, ?> nodes = (HashMap<?, ?>) tables.get(1);
    assertThat(log.get(15)).isEqualTo(true);
    assertThat(sequence.get(10)).isEqualTo("EVENTSEQ");
    assertThat(sequence.get(11)).isEqualTo(3);
    List<Object> names = new ArrayList<>();
    for (Object column : (ArrayList<?>) nodes.get(9)) {
      names.add(((HashMap<?, ?>) column).get(10));
    }
    assertThat(names).containsExactly("ORIGINNODE", "EVENTSEQ", "TEXT");
  }

  @Test
  void sendsEventsInTheirOrderWithTheirNumbers() throws Exception {
    EventTable log = configured(LOG);
    log.offer(number(7));
    log.offer(number(8));
    side.start();

    HashMap<Integer, Object> batch = side.transport.awaitNotifications(EVENTS, 1).get(0);

    assertThat(batch).containsOnlyKeys(0, 1, 3);
    assertThat(body(batch)).hasSize(2);
    assertThat(body(batch).get(0)).isEqualTo("LOG");
    assertThat(events(batch)).containsExactly("1:7", "2:8");
  }

  @Test
  void numbersTheEventsOfEachTableByThemselves() throws Exception {
    EventTable log = configured(LOG);
    EventTable wide = source.events.get(2);
    log.offer(number(7));
    wide.offer(number(8));
    side.start();

    side.transport.awaitNotifications(EVENTS, 2);

    assertThat(allEvents()).containsExactly("1:7", "1:8");
  }

  @Test
  void leavesAGapForEachEventThatIsLost() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 1; i <= 3; i++) {
      assertThat(log.offer(number(i))).isTrue();
    }

    assertThat(log.offer(number(4))).isFalse();
    assertThat(log.offer(number(5))).isFalse();
    side.start();
    side.transport.awaitNotifications(EVENTS, 1);
    awaitEmitted(log, 3);
    assertThat(log.offer(number(6))).isTrue();
    side.transport.awaitNotifications(EVENTS, 2);

    assertThat(allEvents()).containsExactly("1:1", "2:2", "3:3", "6:6");
    assertThat(log.lost()).isEqualTo(2);
    awaitEmitted(log, 4);
  }

  @Test
  void leavesAGapForEventsThatTheSourceMissed() throws Exception {
    EventTable log = configured(LOG);
    log.offer(number(7));
    log.missed(3);
    log.offer(number(8));
    side.start();

    side.transport.awaitNotifications(EVENTS, 1);

    assertThat(allEvents()).containsExactly("1:7", "5:8");
    assertThat(log.lost()).isEqualTo(3);
    assertThatIllegalArgumentException().isThrownBy(() -> log.missed(0));
  }

  @Test
  void tellsOfLossesInTheLog() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 0; i < 5; i++) {
      log.offer(number(i));
    }
    side.start();

    side.trace.awaitMessage("table LOG: 2 events lost, 2 since the start; up to 3 may wait");
  }

  @Test
  void tellsOfLossesAtMostEveryTenSeconds() throws Exception {
    ManualClock clock = new ManualClock();
    RecordingSink trace = new RecordingSink();
    TraceLog log = new TraceLog(trace, "TEST", EventSender.class);
    NotificationSender dropping = new NotificationSender(new RecordingTransport(), clock, log);
    dropping.close();
    EventSender sender = new EventSender(dropping, clock, new Pace(clock, 1000), log);
    EventQueue queue = sender.add(new TableLayout(LOG), null);
    sender.open();
    queue.offer(number(1));
    trace.awaitMessage("table LOG: 1 events lost, 1 since the start; up to 3 may wait");

    queue.offer(number(2));
    clock.advanceMs(9999);
    clock.awaitRounds(3);
    assertThat(trace.messages()).hasSize(1);
    clock.advanceMs(1);

    trace.awaitMessage("table LOG: 1 events lost, 2 since the start");
  }

  @Test
  void losesWhatWaitsAndWhatFollowsWhenTheAgentEnds() {
    EventTable log = configured(LOG);
    log.offer(number(1));
    log.offer(number(2));
    side.request(4, null);

    assertThat(log.offer(number(3))).isFalse();

    assertThat(log.lost()).isEqualTo(3);
    assertThat(log.emitted()).isZero();
    assertThat(side.transport.notifications(EVENTS)).isEmpty();
    assertThat(side.trace.messages())
        .containsExactly(
            "WARN: table LOG: 2 events lost, 2 since the start; up to 3 may wait");
  }

  @Test
  void sendsNoMoreThanFiveHundredAtOnce() throws Exception {
    EventTable wide = configured(WIDE);
    for (int i = 0; i < 1200; i++) {
      wide.offer(number(i));
    }
    side.start();

    side.transport.awaitNotifications(EVENTS, 3);

    assertThat(side.transport.notifications(EVENTS))
        .extracting(it -> events(it).size())
        .containsExactly(500, 500, 200);
  }

  @Test
  void sendsWhatExceedsASecondsWorthAtTheRate() throws Exception {
    EventTable wide = configured(WIDE);
    for (int i = 0; i < 60_000; i++) {
      wide.offer(number(i));
    }
    side.start();

    awaitEmitted(wide, 50_500);
    assertThat(wide.emitted()).isEqualTo(50_500);
    side.clock.advanceMs(20);
    awaitEmitted(wide, 51_500);
    side.clock.advanceMs(1000);
    awaitEmitted(wide, 60_000);
  }

  @Test
  void waitsForRoomWhenTheSourceCanBeSlowedDown() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 1; i <= 3; i++) {
      log.offer(number(i));
    }
    CompletableFuture<Boolean> fourth =
        CompletableFuture.supplyAsync(() -> emitted(log, number(4)));
    side.start();

    assertThat(soon(fourth)).isTrue();
    awaitEmitted(log, 4);

    assertThat(allEvents()).containsExactly("1:1", "2:2", "3:3", "4:4");
    assertThat(log.lost()).isZero();
  }

  @Test
  void losesAnEventThatFindsNoRoomInTime() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 1; i <= 3; i++) {
      log.offer(number(i));
    }
    CompletableFuture<Boolean> fourth =
        CompletableFuture.supplyAsync(() -> emitted(log, number(4)));

    ThreadStates.awaitTrue(
        "given up",
        () -> {
          side.clock.advanceMs(60_000);
          return fourth.isDone();
        });

    assertThat(fourth.get()).isFalse();
    assertThat(log.lost()).isEqualTo(1);
    assertThat(log.emit(number(5), 0)).isFalse();
  }

  @Test
  void endsTheWaitForRoomWhenTheAgentEnds() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 1; i <= 3; i++) {
      log.offer(number(i));
    }
    CompletableFuture<Boolean> fourth =
        CompletableFuture.supplyAsync(() -> emitted(log, number(4)));

    side.request(4, null);

    assertThat(soon(fourth)).isFalse();
  }

  @Test
  void countsAnEventWhoseWaitIsInterruptedAsLost() throws Exception {
    EventTable log = configured(LOG);
    for (int i = 1; i <= 3; i++) {
      log.offer(number(i));
    }
    Thread.currentThread().interrupt();

    assertThatExceptionOfType(InterruptedException.class)
        .isThrownBy(() -> log.emit(number(4), 1000));

    assertThat(log.lost()).isEqualTo(1);
  }

  private static boolean emitted(EventTable table, EventWriter event) {
    try {
      return table.emit(event, 60_000);
    } catch (InterruptedException interrupt) {
      throw new AssertionError(interrupt);
    }
  }

  @Test
  void namesTheSubnodeOfAnEvent() throws Exception {
    EventTable nodes = configured(NODES);
    nodes.offer("earth", row -> row.set(2, "up"));
    side.start();

    HashMap<Integer, Object> batch = side.transport.awaitNotifications(EVENTS, 1).get(0);

    byte[] row = (byte[]) ((ArrayList<?>) body(batch).get(1)).get(0);
    assertThat(new String(row, 0, 32)).isEqualTo("earth" + " ".repeat(27));
    assertThat(ByteBuffer.wrap(row).order(ByteOrder.nativeOrder()).getLong(32)).isEqualTo(1);
    assertThat(new String(row, 40, 4)).isEqualTo("up  ");
  }

  @Test
  void refusesASubnodeThatIsMissingNotWantedOrNoName() {
    EventTable log = configured(LOG);
    EventTable nodes = source.events.get(1);

    assertThatIllegalArgumentException()
        .isThrownBy(() -> nodes.offer(row -> {}))
        .withMessage("table NODES: an event of it needs a subnode");
    assertThatIllegalArgumentException()
        .isThrownBy(() -> log.offer("earth", row -> {}))
        .withMessage("table LOG has no subnodes, got 'earth'");
    assertThatIllegalArgumentException().isThrownBy(() -> nodes.offer("earth ", row -> {}));
    assertThat(nodes.lost() + log.lost()).isZero();
  }

  @Test
  void takesNoNumberForAWriterThatFails() throws Exception {
    EventTable log = configured(LOG);

    assertThatIllegalStateException()
        .isThrownBy(
            () ->
                log.offer(
                    row -> {
                      throw new IllegalStateException("broken");
                    }));
    log.offer(number(1));
    side.start();
    side.transport.awaitNotifications(EVENTS, 1);

    assertThat(allEvents()).containsExactly("1:1");
  }

  @Test
  void protectsItsOwnColumnsAndFinishedRows() {
    EventTable log = configured(LOG);
    Row[] kept = new Row[1];

    assertThatIllegalArgumentException()
        .isThrownBy(() -> log.offer(row -> row.set(0, 99)))
        .withMessage("table LOG, column EVENTSEQ is filled by the toolkit");
    log.offer(row -> kept[0] = row);

    assertThatIllegalStateException()
        .isThrownBy(() -> kept[0].set(1, 1))
        .withMessage("table LOG, column N: too late, the row is finished");
  }

  @Test
  void logsBadValuesEverMoreRarely() {
    EventTable wide = configured(WIDE);
    for (int i = 0; i < 1000; i++) {
      wide.offer(row -> row.set(1, "many"));
    }

    // The first, the second, the fourth, ... the 512th.
    assertThat(side.trace.messages()).hasSize(10);
    assertThat(side.trace.messages().get(0))
        .isEqualTo(
            "WARN: table WIDE, column N: value 'many' is not a number; the cell is not available");
    assertThat(side.trace.messages().get(9)).endsWith("(bad value 512 of this column)");
  }

  @Test
  void answersASampleWithNoRows() {
    configured(LOG);

    HashMap<Integer, Object> answer = side.sample("LOG");

    assertThat(rows(answer)).isEmpty();
    assertThat(body(answer).get(10)).isEqualTo(0);
  }

  @Test
  void countsABatchThatCannotBeSentAsLostAndGoesOn() throws Exception {
    EventTable log = configured(LOG);
    log.offer(number(1));
    side.transport.failWith(new IllegalStateException("wire cut"));
    side.start();
    side.trace.awaitMessage("wire cut");
    side.transport.failWith(null);
    log.offer(number(2));

    // Until the thread has begun to wait for the next try, it does not see the clock.
    ThreadStates.awaitTrue(
        "tried again",
        () -> {
          side.clock.advanceMs(1000);
          return log.emitted() == 1;
        });

    assertThat(log.lost()).isEqualTo(1);
    assertThat(allEvents()).containsExactly("1:1", "2:2");
  }

  @Test
  void refusesASamplerForAnEventTableAndEventsForASampledOne() {
    TableDefinition sampled =
        TableDefinition.builder("SAMPLED").column(Columns.int32("N")).build();
    NativeSide other =
        NativeSide.inline(
            agent -> {
              assertThatIllegalArgumentException()
                  .isThrownBy(() -> agent.table(LOG, (request, rows) -> {}))
                  .withMessage("table LOG has events: declare it as an event table");
              assertThatIllegalArgumentException()
                  .isThrownBy(() -> agent.eventTable(sampled))
                  .withMessage("table SAMPLED has no events: build it with events()");
              agent.eventTable(LOG);
              assertThatIllegalArgumentException().isThrownBy(() -> agent.eventTable(LOG));
            });

    assertThat(other.init().get(0)).isEqualTo(1);
  }

  @Test
  void takesNoDeclarationOnceTheApplicationIsConfigured() {
    configured(LOG);

    assertThatIllegalStateException()
        .isThrownBy(
            () ->
                source.agent.eventTable(
                    TableDefinition.builder("LATE").events().build()))
        .withMessageContaining("too late");
  }

  private static void awaitEmitted(EventTable table, long count) {
    ThreadStates.awaitTrue(count + " events sent", () -> table.emitted() >= count);
  }
}
