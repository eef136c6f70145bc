package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayList;
import java.util.HashMap;
import org.junit.jupiter.api.Test;

/** What wakes a native side that has missed a notification. */
class NudgeTest {
  private static final int EVENTS = 13;
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).build();
  private static final TableDefinition LOG = TableDefinition.builder("LOG").events().build();

  private Agent agent;
  private EventTable log;
  private final NativeSide side =
      NativeSide.inline(
          declaring(
              it -> {
                agent = it;
                it.table(COUNTS, (request, rows) -> rows.row());
                log = it.eventTable(LOG);
              }));

  private void up() {
    side.init();
    side.start();
  }

  @Test
  void followsABurstFiftyMillisecondsAfterItsLast() throws Exception {
    up();
    agent.subnodes().register(Subnode.named("earth"));
    side.clock.advanceMs(49);
    agent.subnodes().register(Subnode.named("mars"));
    side.clock.advanceMs(49);
    awaitRounds();
    assertThat(side.transport.notifications(EVENTS)).isEmpty();

    side.clock.advanceMs(1);

    HashMap<?, ?> nudge = body(side.transport.awaitNotifications(EVENTS, 1).get(0));
    assertThat(nudge.get(0)).isEqualTo("LOG");
    assertThat((ArrayList<?>) nudge.get(1)).isEmpty();
  }

  @Test
  void comesOnceForABurst() throws Exception {
    up();
    agent.subnodes().register(Subnode.named("earth"));
    side.clock.advanceMs(50);
    side.transport.awaitNotifications(EVENTS, 1);

    side.clock.advanceMs(1000);
    awaitRounds();

    assertThat(side.transport.notifications(EVENTS)).hasSize(1);
  }

  @Test
  void followsEventsAndTheWishToStop() throws Exception {
    up();
    log.offer(row -> {});
    side.transport.awaitNotifications(EVENTS, 1);
    awaitRounds();
    side.clock.advanceMs(50);
    side.transport.awaitNotifications(EVENTS, 2);

    agent.stop("done");
    side.clock.advanceMs(50);

    assertThat(side.transport.awaitNotifications(EVENTS, 3))
        .extracting(it -> ((ArrayList<?>) body(it).get(1)).size())
        .containsExactly(1, 0, 0);
  }

  @Test
  void followsWhatHasWaitedForTheAgentToComeUp() throws Exception {
    side.init();
    agent.subnodes().register(Subnode.named("earth"));
    side.start();

    side.clock.advanceMs(50);

    side.transport.awaitNotifications(EVENTS, 1);
    assertThat(side.transport.ofType(2)).extracting(it -> it.get(1)).containsExactly(10, EVENTS);
  }

  @Test
  void takesTheFirstTableWhenNoneHasEvents() throws Exception {
    Agent[] given = new Agent[1];
    NativeSide plain =
        NativeSide.inline(
            declaring(
                it -> {
                  given[0] = it;
                  it.table(COUNTS, (request, rows) -> rows.row());
                }));
    plain.init();
    plain.start();
    given[0].subnodes().register(Subnode.named("earth"));
    plain.clock.advanceMs(50);

    HashMap<?, ?> nudge = body(plain.transport.awaitNotifications(EVENTS, 1).get(0));

    assertThat(nudge.get(0)).isEqualTo("COUNTS");
  }

  /** Returns when the thread that nudges, the only one here that waits, has looked at the time. */
  private void awaitRounds() throws Exception {
    side.clock.awaitRounds(3);
  }
}
