package com.qrv.norvel.monitoring.jmx.notify;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.FakeAgent;
import com.qrv.norvel.monitoring.jmx.RecordingEvents;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import java.lang.management.ManagementFactory;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;
import javax.management.ListenerNotFoundException;
import javax.management.MBeanNotificationInfo;
import javax.management.MBeanServer;
import javax.management.Notification;
import javax.management.NotificationBroadcasterSupport;
import javax.management.NotificationFilter;
import javax.management.NotificationFilterSupport;
import javax.management.NotificationListener;
import javax.management.ObjectName;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

final class BeanNotificationsTest {
  /** A bean that tells of orders. */
  public interface ShopMBean {}

  /**
   * Counts who listens to it with a filter for types. A collector outside that has found this
   * process and asks it for notifications of any bean makes the server listen to all.
   */
  public static final class Shop extends NotificationBroadcasterSupport implements ShopMBean {
    final AtomicInteger listeners = new AtomicInteger();
    private final Set<NotificationListener> counted = ConcurrentHashMap.newKeySet();

    @Override
    public void addNotificationListener(
        NotificationListener listener, NotificationFilter filter, Object handback) {
      super.addNotificationListener(listener, filter, handback);
      if (filter instanceof NotificationFilterSupport && counted.add(listener)) {
        listeners.incrementAndGet();
      }
    }

    @Override
    public void removeNotificationListener(NotificationListener listener)
        throws ListenerNotFoundException {
      super.removeNotificationListener(listener);
      discount(listener);
    }

    @Override
    public void removeNotificationListener(
        NotificationListener listener, NotificationFilter filter, Object handback)
        throws ListenerNotFoundException {
      super.removeNotificationListener(listener, filter, handback);
      discount(listener);
    }

    private void discount(NotificationListener listener) {
      if (counted.remove(listener)) {
        listeners.decrementAndGet();
      }
    }

    @Override
    public MBeanNotificationInfo[] getNotificationInfo() {
      return new MBeanNotificationInfo[0];
    }

    void tell(String type, long number, Object data) {
      Notification notification = new Notification(type, "shop", number, 12_345L, "sold");
      notification.setUserData(data);
      sendNotification(notification);
    }
  }

  private static final String TABLE = "ORDERS";

  private final MBeanServer server = ManagementFactory.getPlatformMBeanServer();
  private final RecordingLog log = new RecordingLog();
  private final FakeAgent agent = new FakeAgent();
  private final SelfJvm self = new SelfJvm("tests", Clock.SYSTEM, log);
  private final BeanNotifications notifications =
      new BeanNotifications(
          List.of(new NotificationRule(TABLE, "zel.test:type=Shop,*", List.of("order"))),
          Clock.SYSTEM,
          60_000,
          log);
  private final Shop shop = new Shop();

  @BeforeEach
  void begin() throws Exception {
    notifications.register(agent);
    server.registerMBean(shop, bean("one"));
    notifications.up(self);
  }

  @AfterEach
  void end() throws Exception {
    for (ObjectName name : server.queryNames(new ObjectName("zel.test:type=Shop,*"), null)) {
      server.unregisterMBean(name);
    }
  }

  @Test
  void aCollectionOfGarbageBecomesAnEventWhileSomebodyWatches() throws Exception {
    agent.watch(GcEvents.TABLE, "*EVENTS", true);
    RecordingEvents events = agent.events(GcEvents.TABLE);

    Await.until(
        "a collection is told of",
        () -> {
          System.gc();
          return !events.events().isEmpty();
        });

    Map<String, Object> event = events.events().get(0);
    assertThat(event)
        .containsEntry("ORIGINNODE", "self")
        .containsKeys("COLLECTOR", "ACTION", "CAUSE", "GC_ID", "DURATION_MS");
    assertThat((Long) event.get("TIME_MS")).isGreaterThan(1_600_000_000_000L);
    assertThat((Long) event.get("HEAP_BEFORE")).isPositive();
    assertThat((Long) event.get("HEAP_AFTER")).isPositive();
  }

  @Test
  void nobodyIsListenedToUntilATableIsWatchedAndAfterTheLastWatch() throws Exception {
    assertThat(shop.listeners).hasValue(0);

    agent.watch(TABLE, "a", true);
    agent.watch(TABLE, "b", true);
    Await.until("it is listened to", () -> shop.listeners.get() == 1);

    agent.watch(TABLE, "a", false);
    settle();
    assertThat(shop.listeners).hasValue(1);

    agent.watch(TABLE, "b", false);
    Await.until("nobody listens", () -> shop.listeners.get() == 0);
  }

  @Test
  void anEventHasWhatTheNotificationSays() throws Exception {
    agent.watch(TABLE, "a", true);
    Await.until("it is listened to", () -> shop.listeners.get() == 1);

    shop.tell("order.new", 7, List.of("apple"));
    shop.tell("refund", 8, null);

    assertThat(agent.events(TABLE).events())
        .containsExactly(
            Map.of(
                "ORIGINNODE", "self",
                "TIME_MS", 12_345L,
                "MBEAN", "zel.test:name=one,type=Shop",
                "TYPE", "order.new",
                "SOURCE_SEQ", 7L,
                "MESSAGE", "sold",
                "USER_DATA", "[apple]"));
  }

  @Test
  void beansThatComeLaterAreListenedToAtTheNextLook() throws Exception {
    agent.watch(TABLE, "a", true);
    Await.until("it is listened to", () -> shop.listeners.get() == 1);
    Shop second = new Shop();
    server.registerMBean(second, bean("two"));

    notifications.run();

    Await.until("the new one is listened to", () -> second.listeners.get() == 1);
    assertThat(shop.listeners).hasValue(1);
  }

  @Test
  void aNotificationThatCannotBeReadCostsItselfAndLeavesAGap() throws Exception {
    agent.watch(TABLE, "a", true);
    Await.until("it is listened to", () -> shop.listeners.get() == 1);

    shop.sendNotification(new Unreadable(1));
    shop.sendNotification(new Unreadable(2));
    shop.tell("order.new", 3, "x");

    assertThat(agent.events(TABLE).events()).hasSize(1);
    assertThat(agent.events(TABLE).missed()).isEqualTo(2);
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("target self: ORDERS: a notification of");
  }

  @Test
  void moreBeansThanTheLimitAreReportedOnceAndTheRestIsListenedTo() throws Exception {
    for (int i = 0; i < Listeners.MAX_BEANS; i++) {
      server.registerMBean(new Shop(), bean("shop" + i));
    }

    agent.watch(TABLE, "a", true);
    Await.until("the limit is reported", () -> !log.errors().isEmpty());
    notifications.run();
    settle();

    assertThat(log.errors())
        .containsExactly(
            "target self: ORDERS: more than 100 MBeans match; the rest is not listened to");
  }

  /** Waits until the target has done what it was asked for until now. */
  private void settle() throws Exception {
    CountDownLatch done = new CountDownLatch(1);
    self.later(
        "settle",
        link -> {
          done.countDown();
          return null;
        });
    done.await();
  }

  private static ObjectName bean(String name) throws Exception {
    return new ObjectName("zel.test:type=Shop,name=" + name);
  }

  private static final class Unreadable extends Notification {
    private static final long serialVersionUID = 1L;

    Unreadable(long number) {
      super("order.bad", "shop", number);
    }

    @Override
    public String getMessage() {
      throw new IllegalStateException("no text");
    }
  }
}
