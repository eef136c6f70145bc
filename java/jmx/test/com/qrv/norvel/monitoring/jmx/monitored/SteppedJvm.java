package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.link.Dialer;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import java.io.IOException;
import java.util.Collections;
import java.util.HashSet;
import java.util.Random;
import java.util.Set;
import java.util.function.LongConsumer;
import javax.management.InstanceNotFoundException;
import javax.management.MBeanServerConnection;
import javax.management.NotificationFilter;
import javax.management.NotificationListener;
import javax.management.ObjectName;

/**
 * A connected JVM without a thread: a test does what its thread would do, so that a day passes in
 * seconds. Each call on it goes well or wrong by chance.
 */
public final class SteppedJvm implements MonitoredJvm {
  private static final long CALL = 3000;

  private final ManualClock clock;
  private final Random random;
  private final ConnectedJvm jvm;
  private final Set<ObjectName> beans;
  private int open; // connections

  public SteppedJvm(
      String name,
      ManualClock clock,
      Random random,
      CallWatchdog watchdog,
      OperatorLog log,
      TargetObserver observer)
      throws Exception {
    this.clock = clock;
    this.random = random;
    this.beans = Set.of(new ObjectName("a:x=1"), new ObjectName("a:x=2"), new ObjectName("a:x=3"));
    this.jvm =
        new ConnectedJvm(
            new TargetIdentity(name, TargetKind.LOCAL, name, 1, "fake"),
            new TargetTimes(CALL, 2 * CALL, 30_000),
            new Chance(),
            new Retry(1000, 60_000, random),
            watchdog,
            clock,
            log,
            new TargetObserver() {
              @Override
              public void up(MonitoredJvm target) {
                observer.up(SteppedJvm.this);
              }

              @Override
              public void presenceChanged() {
                observer.presenceChanged();
              }
            });
  }

  @Override
  public String name() {
    return jvm.name();
  }

  @Override
  public boolean isPresent() {
    return jvm.isPresent();
  }

  @Override
  public TargetStatus status() {
    return jvm.status();
  }

  @Override
  public void start() {}

  @Override
  public void close() {
    jvm.close();
  }

  @Override
  public void retryNow() {
    jvm.retryNow();
  }

  @Override
  public Object[][] sample(BeanTable table) {
    throw new UnsupportedOperationException("nobody would do it");
  }

  @Override
  public <T> T work(String key, TargetWork<T> work) {
    throw new UnsupportedOperationException("nobody would do it");
  }

  @Override
  public void later(String key, TargetWork<?> work) {
    jvm.later(key, work);
  }

  public int open() {
    return open;
  }

  /** Does all that is due now. */
  public void step() {
    for (BeanTable table : StandardTables.all()) {
      jvm.later(table.name(), new SampleWork(table, "t"));
    }
    while (jvm.status().state() != TargetState.CLOSED && jvm.pauseMillis() <= 0) {
      jvm.turn();
    }
  }

  /** Does what the thread of a closed target does last. */
  public void end() {
    jvm.run();
  }

  /** Makes calls that answer, take their time, hang, break or are refused. */
  private final class Chance implements Dialer {
    @Override
    public void adoptThread() {}

    @Override
    public Link dial() throws Exception {
      call("dial");
      open++;
      return new ChanceLink();
    }

    @Override
    public void cut() {}

    @Override
    public void allow() {}

    @Override
    public void bear(long millis) {}
  }

  private void call(String what) throws IOException {
    int chance = random.nextInt(1000);
    if (chance < 10) {
      clock.advance(3 * CALL);
      jvm.expire(clock.millis());
      throw new IOException(what + " was cut");
    } else if (chance < 20) {
      throw new IOException(what + " broke at " + clock.millis());
    } else if (chance < 30) {
      throw new IllegalStateException(what + " is refused");
    } else if (chance < 40) {
      clock.advance(CALL / 2);
    } else if (chance < 42) {
      throw new OutOfMemoryError(what);
    }
  }

  private final class ChanceLink implements Link {
    private final Set<ObjectName> heard = new HashSet<>();
    private LongConsumer loss;

    @Override
    public Object[][] read(String names, String[] attributes) throws IOException {
      call("read");
      if (loss != null && random.nextInt(100) == 0) {
        loss.accept(3);
      }
      return new Object[][] {new Object[attributes.length]};
    }

    @Override
    public void ping() throws IOException {
      call("ping");
    }

    @Override
    public void close() throws IOException {
      open--;
      call("close");
    }

    @Override
    public MBeanServerConnection server() {
      throw new UnsupportedOperationException();
    }

    @Override
    public Set<ObjectName> names(ObjectName pattern) throws IOException {
      call("names");
      return Collections.unmodifiableSet(beans);
    }

    @Override
    public void onLoss(LongConsumer told) {
      loss = told;
    }

    @Override
    public void addListener(
        ObjectName bean, NotificationListener listener, NotificationFilter filter)
        throws IOException, InstanceNotFoundException {
      call("add");
      if (!heard.add(bean)) {
        throw new IllegalStateException(bean + " is listened to twice");
      }
    }

    @Override
    public void removeListener(ObjectName bean, NotificationListener listener)
        throws IOException {
      call("remove");
      heard.remove(bean);
    }
  }
}
