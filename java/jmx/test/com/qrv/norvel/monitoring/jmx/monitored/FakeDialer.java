package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.link.Dialer;
import com.qrv.norvel.monitoring.jmx.link.Link;
import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.util.Set;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.function.LongConsumer;
import javax.management.MBeanServerConnection;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;

/** A JVM that answers, hangs until it is cut off, or breaks, as a test wants. */
final class FakeDialer implements Dialer {
  enum Mood {
    ANSWERS,
    HANGS,
    /** Hangs, and is not ended by a cut. */
    HANGS_ON,
    /** Answers new calls; those that hang on still do. */
    ANSWERS_OTHERS,
    /** Answers new calls, and breaks those that hung on. */
    BREAKS_LOST,
    BREAKS,
    REFUSES
  }

  final AtomicInteger dials = new AtomicInteger();
  final AtomicInteger reads = new AtomicInteger();
  final AtomicInteger pings = new AtomicInteger();
  final AtomicInteger goodbyes = new AtomicInteger();
  final AtomicInteger leaves = new AtomicInteger(); // closed after it was cut
  volatile long borne; // the longest silence
  private Mood mood; // guarded by this
  private boolean cut; // guarded by this
  private boolean hanging; // guarded by this

  FakeDialer(Mood mood) {
    this.mood = mood;
  }

  synchronized void become(Mood next) {
    mood = next;
    notifyAll();
  }

  synchronized boolean isHanging() {
    return hanging;
  }

  @Override
  public void adoptThread() {}

  @Override
  public synchronized void cut() {
    cut = true;
    notifyAll();
  }

  private synchronized boolean isCut() {
    return cut;
  }

  @Override
  public void bear(long millis) {
    borne = millis;
  }

  @Override
  public synchronized void allow() {
    cut = false;
  }

  @Override
  public Link dial() throws IOException {
    dials.incrementAndGet();
    act("dial");
    return new FakeLink();
  }

  private synchronized void act(String what) throws IOException {
    if (mood == Mood.REFUSES) {
      throw new IllegalStateException(what + " is refused");
    }
    if (mood == Mood.BREAKS) {
      throw new IOException(what + " broke");
    }
    hanging |= hangs();
    boolean isLost = false;
    while (hangs() || (isLost && mood == Mood.ANSWERS_OTHERS)) {
      isLost |= mood == Mood.HANGS_ON;
      try {
        wait();
      } catch (InterruptedException e) {
        throw new IOException(e);
      }
    }
    if (isLost || mood != Mood.ANSWERS_OTHERS) {
      hanging = false;
    }
    if (isLost && mood == Mood.BREAKS_LOST) {
      throw new IOException(what + " broke");
    }
    if (cut) {
      throw new IOException("socket closed");
    }
  }

  private boolean hangs() {
    return mood == Mood.HANGS_ON || (mood == Mood.HANGS && !cut);
  }

  private final class FakeLink implements Link {
    @Override
    public void ping() throws IOException {
      pings.incrementAndGet();
      act("ping");
    }

    @Override
    public void close() throws IOException {
      if (isCut()) {
        leaves.incrementAndGet();
        throw new IOException("socket closed");
      }
      goodbyes.incrementAndGet();
    }

    @Override
    public Set<ObjectName> names(ObjectName pattern) {
      return Set.of();
    }

    @Override
    public void addListener(
        ObjectName bean, NotificationListener listener, NotificationFilter filter) {}

    @Override
    public void removeListener(ObjectName bean, NotificationListener listener) {}

    @Override
    public void onLoss(LongConsumer told) {}

    @Override
    public MBeanServerConnection server() {
      return ManagementFactory.getPlatformMBeanServer();
    }

    @Override
    public Object[][] read(String beans, String[] attributes) throws IOException {
      reads.incrementAndGet();
      act("read");
      Object[] row = new Object[attributes.length];
      java.util.Arrays.fill(row, 42L);
      return new Object[][] {row};
    }
  }
}
