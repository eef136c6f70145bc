package com.qrv.norvel.monitoring.jmx.notify;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingEvents;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.link.TimeBudget;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import java.util.ArrayDeque;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.InstanceNotFoundException;
import javax.management.MBeanServerConnection;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;
import org.junit.jupiter.api.Test;

final class ListenersTest {
  private static final Situation WATCH =
      new Situation("s", "ORDERS", 0, false, false, List.of(), List.of());

  private final RecordingLog log = new RecordingLog();
  private final WatchedTable table =
      new WatchedTable(
          new ConfiguredEvents(new NotificationRule("ORDERS", "a:*", List.of())), () -> {}, log);
  private final RecordingEvents events = new RecordingEvents(table.source().definition());
  private final WatchedTable other =
      new WatchedTable(
          new ConfiguredEvents(new NotificationRule("MORE", "b:*", List.of())), () -> {}, log);
  private final RecordingEvents otherEvents = new RecordingEvents(other.source().definition());
  private final ManualClock clock = new ManualClock();
  private final ArrayDeque<TargetWork<?>> rest = new ArrayDeque<>();
  private final Listeners listeners =
      new Listeners("shop", List.of(table, other), new TimeBudget(clock, 1500), rest::add, log);

  ListenersTest() {
    table.bind(events);
    table.armed(WATCH);
    other.bind(otherEvents);
  }

  @Test
  void aNewConnectionIsListenedToAgainAndTheGapIsCounted() throws Exception {
    FakeLink first = new FakeLink("a:x=1");
    FakeLink second = new FakeLink("a:x=1");
    listeners.on(first);

    listeners.on(second);

    assertThat(second.listeners).hasSize(1);
    assertThat(events.missed()).isEqualTo(1);
  }

  @Test
  void theFirstConnectionAndOneThatNobodyListenedToLeaveNoGap() throws Exception {
    table.disarmed(WATCH);
    listeners.on(new FakeLink("a:x=1"));
    table.armed(WATCH);
    listeners.on(new FakeLink("a:x=1"));

    assertThat(events.missed()).isZero();
  }

  @Test
  void whatTheConnectionLostIsCountedAtOnceForEachTableThatHasAListener() throws Exception {
    other.armed(WATCH);
    FakeLink link = new FakeLink("a:x=1", "b:x=1");
    listeners.on(link);

    link.loss.accept(5);

    assertThat(events.missed()).isEqualTo(5);
    assertThat(otherEvents.missed()).isEqualTo(5);
  }

  @Test
  void whatTheConnectionLostIsNoLossOfATableWithoutListenersThere() throws Exception {
    other.armed(WATCH);
    FakeLink link = new FakeLink("a:x=1");
    listeners.on(link);

    link.loss.accept(5);
    table.disarmed(WATCH);
    listeners.on(link);
    link.loss.accept(7);

    assertThat(events.missed()).isEqualTo(5);
    assertThat(otherEvents.missed()).isZero();
  }

  @Test
  void aConnectionThatWasGivenUpIsNotHeardAnyMore() throws Exception {
    FakeLink first = new FakeLink("a:x=1");
    FakeLink second = new FakeLink("a:x=1");
    listeners.on(first);
    listeners.on(second);

    first.tell("a:x=1");
    second.tell("a:x=1");

    assertThat(events.events()).hasSize(1);
    assertThat(events.missed()).isEqualTo(1);
  }

  @Test
  void whatAConnectionLostCountsThoughItIsToldLate() throws Exception {
    FakeLink first = new FakeLink("a:x=1");
    listeners.on(first);
    first.listeners.clear();
    listeners.on(first);

    first.loss.accept(5);
    assertThat(events.missed()).as("after its beans have gone").isEqualTo(5);

    listeners.on(new FakeLink("b:x=1"));
    first.loss.accept(7);
    assertThat(events.missed()).as("after the connection has gone").isEqualTo(12);
    assertThat(otherEvents.missed()).isZero();
  }

  @Test
  void manyBeansAreListenedToInPiecesThatFitIntoACall() throws Exception {
    String[] beans = new String[90];
    for (int i = 0; i < beans.length; i++) {
      beans[i] = "a:x=" + i;
    }
    FakeLink link = new FakeLink(beans);
    link.latency = 40;

    long longest = longestPiece(link);

    assertThat(link.listeners.values()).doesNotContainNull();
    assertThat(longest).isBetween(1500L, 1540L);

    table.disarmed(WATCH);
    longest = longestPiece(link);

    assertThat(link.listeners.values()).containsOnlyNulls();
    assertThat(longest).isBetween(1500L, 1540L);
  }

  /** Does everything that a wish asks for; gives the time of the longest piece. */
  private long longestPiece(FakeLink link) throws Exception {
    long longest = 0;
    for (TargetWork<?> next = listeners; next != null; next = rest.poll()) {
      long start = clock.millis();
      next.on(link);
      longest = Math.max(longest, clock.millis() - start);
    }
    return longest;
  }

  @Test
  void aNewWishTakesThePlaceOfWhatIsLeftOfTheLast() throws Exception {
    FakeLink link = new FakeLink("a:x=1", "a:x=2");
    link.latency = 2000;
    listeners.on(link);
    TargetWork<?> left = rest.remove();
    table.disarmed(WATCH);
    link.latency = 0;

    listeners.on(link);
    left.on(link);

    assertThat(link.listeners.values()).containsOnlyNulls();
  }

  @Test
  void aBeanThatHasGoneAndComesBackIsListenedToAgain() throws Exception {
    FakeLink link = new FakeLink("a:x=1");
    listeners.on(link);
    link.listeners.clear();
    listeners.on(link);

    link.listeners.put(new ObjectName("a:x=1"), null);
    listeners.on(link);

    assertThat(link.listeners.get(new ObjectName("a:x=1"))).isNotNull();
  }

  @Test
  void aBeanThatGoesWhileItIsAddedCostsNothing() throws Exception {
    FakeLink link = new FakeLink("a:x=1", "a:x=2");
    link.gone = new ObjectName("a:x=1");

    listeners.on(link);

    assertThat(link.listeners.get(new ObjectName("a:x=2"))).isNotNull();
    assertThat(log.errors()).isEmpty();
  }

  /** A connection whose beans can be told of. */
  private final class FakeLink implements Link {
    final Map<ObjectName, NotificationListener> listeners = new LinkedHashMap<>();
    ObjectName gone;
    LongConsumer loss;
    long latency;

    FakeLink(String... beans) throws Exception {
      for (String bean : beans) {
        listeners.put(new ObjectName(bean), null);
      }
    }

    void tell(String bean) throws Exception {
      listeners
          .get(new ObjectName(bean))
          .handleNotification(new Notification("t", bean, 1), null);
    }

    @Override
    public Set<ObjectName> names(ObjectName pattern) {
      clock.advance(latency);
      Set<ObjectName> names = new LinkedHashSet<>(listeners.keySet());
      names.removeIf(name -> !pattern.apply(name));
      return names;
    }

    @Override
    public void addListener(
        ObjectName bean, NotificationListener listener, NotificationFilter filter)
        throws InstanceNotFoundException {
      if (bean.equals(gone)) {
        throw new InstanceNotFoundException();
      }
      clock.advance(latency);
      listeners.put(bean, listener);
    }

    @Override
    public void removeListener(ObjectName bean, NotificationListener listener) {
      clock.advance(latency);
      listeners.put(bean, null);
    }

    @Override
    public void onLoss(LongConsumer told) {
      loss = told;
    }

    @Override
    public Object[][] read(String beans, String[] attributes) {
      throw new UnsupportedOperationException();
    }

    @Override
    public MBeanServerConnection server() {
      throw new UnsupportedOperationException();
    }

    @Override
    public void ping() {}

    @Override
    public void close() {}
  }
}
