package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.HashMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;

class NotificationSenderTest {
  private final RecordingSink trace = new RecordingSink();
  private final ManualClock clock = new ManualClock();

  @Test
  void letsNoNotificationOvertakeOneThatHasWaited() throws Exception {
    CountDownLatch first = new CountDownLatch(1);
    CountDownLatch second = new CountDownLatch(1);
    RecordingTransport transport = new RecordingTransport();
    NotificationSender notifications =
        notifications(
            envelope -> {
              if (envelope.get(1).equals(1)) {
                first.countDown();
                awaitQuietly(second);
              }
              transport.send(envelope);
            });
    notifications.send(1, new HashMap<>());
    Thread opener = new Thread(notifications::open);
    opener.start();
    first.await();

    notifications.send(2, new HashMap<>());
    second.countDown();
    opener.join(30_000);
    notifications.send(3, new HashMap<>());

    assertThat(transport.sent()).extracting(it -> it.get(1)).containsExactly(1, 2, 3);
  }

  @Test
  void sendsTheOthersThatHaveWaitedWhenOneFails() {
    RecordingTransport transport = new RecordingTransport();
    NotificationSender notifications = notifications(transport);
    notifications.send(1, new HashMap<>());
    notifications.send(2, new HashMap<>());
    transport.failWith(new IllegalStateException("wire cut"));

    notifications.open();

    assertThat(transport.sent()).hasSize(2);
    assertThat(trace.messages()).hasSize(2);
  }

  @Test
  void closesOnlyWhenNoneIsOnItsWay() throws Exception {
    CountDownLatch sending = new CountDownLatch(1);
    CountDownLatch goOn = new CountDownLatch(1);
    NotificationSender notifications =
        notifications(
            envelope -> {
              sending.countDown();
              awaitQuietly(goOn);
            });
    notifications.open();
    Thread sender = new Thread(() -> notifications.send(1, new HashMap<>()));
    sender.start();
    sending.await();
    Thread closer = new Thread(notifications::close);
    closer.start();

    ThreadStates.awaitWaiting(closer);
    goOn.countDown();
    closer.join(30_000);

    assertThat(closer.isAlive()).isFalse();
    assertThat(trace.messages()).isEmpty();
  }

  @Test
  void closesWithinABoundWhenOneNeverArrives() throws Exception {
    CountDownLatch sending = new CountDownLatch(1);
    CountDownLatch goOn = new CountDownLatch(1);
    NotificationSender notifications =
        notifications(
            envelope -> {
              sending.countDown();
              awaitQuietly(goOn);
            });
    notifications.open();
    Thread sender = new Thread(() -> notifications.send(1, new HashMap<>()));
    sender.start();
    sending.await();
    Thread closer = new Thread(notifications::close);
    closer.start();

    for (int i = 0; i < 3000 && closer.isAlive(); i++) {
      clock.advanceMs(1000);
      closer.join(10);
    }

    assertThat(closer.isAlive()).isFalse();
    assertThat(trace.messages()).containsExactly("WARN: 1 notifications are still on their way");
    goOn.countDown();
  }

  private NotificationSender notifications(
      com.qrv.norvel.monitoring.toolkit.bridge.Transport transport) {
    return new NotificationSender(
        transport, clock, new TraceLog(trace, "TEST", NotificationSender.class));
  }

  private static void awaitQuietly(CountDownLatch latch) {
    try {
      assertThat(latch.await(30, TimeUnit.SECONDS)).isTrue();
    } catch (InterruptedException interrupt) {
      throw new AssertionError(interrupt);
    }
  }
}
