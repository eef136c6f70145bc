package com.qrv.norvel.monitoring.jmx.notify;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.RecordingEvents;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.target.Link;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
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
  private final Listeners listeners = new Listeners("shop", List.of(table), log);

  ListenersTest() {
    table.bind(events);
    table.armed(WATCH);
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
  void whatTheConnectionLostIsCountedBeforeTheNextEvent() throws Exception {
    FakeLink link = new FakeLink("a:x=1");
    listeners.on(link);
    link.lost = 5;

    link.tell("a:x=1");

    assertThat(events.missed()).isEqualTo(5);
    assertThat(events.events()).hasSize(1);
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
  private static final class FakeLink implements Link {
    final Map<ObjectName, NotificationListener> listeners = new LinkedHashMap<>();
    ObjectName gone;
    long lost;

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
      return Set.copyOf(listeners.keySet());
    }

    @Override
    public void addListener(
        ObjectName bean, NotificationListener listener, NotificationFilter filter)
        throws InstanceNotFoundException {
      if (bean.equals(gone)) {
        throw new InstanceNotFoundException();
      }
      listeners.put(bean, listener);
    }

    @Override
    public void removeListener(ObjectName bean, NotificationListener listener) {
      listeners.put(bean, null);
    }

    @Override
    public long takeLostNotifications() {
      long taken = lost;
      lost = 0;
      return taken;
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
