package com.qrv.norvel.monitoring.fault;

import java.util.concurrent.atomic.AtomicLong;
import javax.management.MBeanNotificationInfo;
import javax.management.Notification;
import javax.management.NotificationBroadcasterSupport;
import javax.management.ObjectName;

/** The bean of the mode {@code notify}. Their sequence numbers have no gap. */
public final class Notifier extends NotificationBroadcasterSupport implements NotifierMBean {
  static final ObjectName NAME = Names.of("zel.fault:type=Notifier");
  static final String TYPE = "zel.fault.tick";

  private final AtomicLong sent = new AtomicLong();

  Notifier() {
    super(
        new MBeanNotificationInfo(
            new String[] {TYPE}, Notification.class.getName(), "sent at a given rate"));
  }

  @Override
  public long getSent() {
    return sent.get();
  }

  void send(long count) {
    for (long i = 0; i < count; i++) {
      long number = sent.incrementAndGet();
      sendNotification(new Notification(TYPE, NAME, number, "tick " + number));
    }
  }
}
