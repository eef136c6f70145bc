package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.EventWriter;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.Test;

/** What else the thread that sends events does while these don't end. */
class EventSenderTest {
  private static final TableDefinition LOG =
      TableDefinition.builder("LOG").events().column(Columns.int32("N")).maxQueued(3).build();
  private static final EventWriter EVENT = row -> row.set(1, 1);

  private final ManualClock clock = new ManualClock();
  private final RecordingSink trace = new RecordingSink();
  private final TraceLog log = new TraceLog(trace, "TEST", EventSender.class);
  private final AtomicInteger nudges = new AtomicInteger();
  private final AtomicInteger batches = new AtomicInteger();
  private final NotificationSender notifications = new NotificationSender(this::sent, clock, log);
  private final EventSender sender =
      new EventSender(notifications, clock, new Pace(clock, 1_000_000_000), log);
  private final EventQueue queue = sender.add(new TableLayout(LOG), null);

  /** As long as events are sent, there are more of them than the queue can hold. */
  private void sent(HashMap<Integer, Object> envelope) {
    if (((ArrayList<?>) NativeSide.body(envelope).get(1)).isEmpty()) {
      nudges.incrementAndGet();
      return;
    }
    batches.incrementAndGet();
    for (int i = 0; i < 4; i++) {
      queue.offer(EVENT);
    }
  }

  @Test
  void tellsOfLossesAndNudgesWhileMoreEventsComeThanCanBeSent() throws Exception {
    notifications.open();
    sender.nudgeWith("LOG");
    sender.open();
    queue.offer(EVENT);
    sender.notificationSent();
    try {
      trace.awaitMessage("events lost");

      clock.advanceMs(EventSender.REPORT_NANOS / 1_000_000);

      ThreadStates.awaitTrue("told again", () -> trace.messages().size() == 2);
      ThreadStates.awaitTrue("nudged", () -> nudges.get() == 1);
      int before = batches.get();
      ThreadStates.awaitTrue("events are sent still", () -> batches.get() > before);
      assertThat(queue.lost()).isPositive();
    } finally {
      sender.close();
    }
  }
}
