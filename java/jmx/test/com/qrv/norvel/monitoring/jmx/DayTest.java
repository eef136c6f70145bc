package com.qrv.norvel.monitoring.jmx;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.discovery.LocalJvm;
import com.qrv.norvel.monitoring.jmx.discovery.LocalSearch;
import com.qrv.norvel.monitoring.jmx.monitored.CallWatchdog;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SteppedJvm;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import java.util.ArrayList;
import java.util.Iterator;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.Set;
import java.util.TreeMap;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.function.Consumer;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** A day of faults and restarts, by a clock that a test moves. */
final class DayTest {
  private static final long STEP_MILLIS = 20_000;
  private static final int STEPS_OF_AN_HOUR = 180;
  private static final String TABLE = "ORDERS";

  private final ManualClock clock = new ManualClock();
  private final Random random = new Random(1);
  private final RecordingLog log = new RecordingLog();
  private final RecordingSubnodes subnodes = new RecordingSubnodes();
  private final FakeAgent agent = new FakeAgent();
  private final CallWatchdog watchdog = new CallWatchdog(clock, 3000);
  private final Machine machine = new Machine();
  private final BeanNotifications notifications =
      new BeanNotifications(
          List.of(new NotificationRule(TABLE, "a:*", List.of())), clock, 3000, log);
  private final Targets targets =
      new Targets(
          new JmxConfig(
              new JmxConfig.Local(true, 1000, List.of("*"), List.of()),
              List.of(),
              new JmxConfig.Calls(3000, 1000, 60_000, 30_000, 10_000),
              50,
              List.of(),
              List.of(),
              List.of()),
          new SelfJvm("me", clock, log),
          machine,
          subnodes,
          new DaemonStarter(List.of(), new RecordingDaemons(), clock, log),
          notifications,
          log);

  @AfterEach
  void close() {
    targets.close();
    watchdog.close();
  }

  @Test
  void nothingGrowsInADayOfFaultsAndRestarts() throws Exception {
    notifications.register(agent);
    targets.start();
    for (long pid = 1; pid <= 5; pid++) {
      machine.run(pid);
    }
    machine.awaitSearch();
    List<Integer> sizes = new ArrayList<>();
    for (int step = 0; step < 24 * STEPS_OF_AN_HOUR; step++) {
      clock.advance(STEP_MILLIS);
      if (step % 30 == 0) {
        machine.replaceOne();
        agent.watch(TABLE, "s", step % 60 == 0);
        machine.awaitSearch();
      }
      machine.step();
      assertThat(machine.open()).as("connections at step %d", step).isLessThanOrEqualTo(5);
      if (step % STEPS_OF_AN_HOUR == STEPS_OF_AN_HOUR - 1) {
        machine.awaitSearch();
        sizes.add(size());
      }
    }
    assertThat(clock.millis()).isGreaterThan(86_400_000L);
    assertThat(log.errors().size()).as("faults that were told").isGreaterThan(500);
    int morning = max(sizes.subList(0, 12));
    assertThat(max(sizes.subList(12, 24))).as("sizes %s", sizes).isLessThan(morning + morning / 5);

    machine.endAll();
    machine.awaitSearch();
    machine.step();
    assertThat(targets.statuses()).hasSize(1);
    assertThat(subnodes.registered()).containsExactly("self");
    assertThat(machine.open()).isZero();
  }

  private int size() throws Exception {
    return Reachable.count(
        targets,
        Set.of(
            RecordingLog.class,
            RecordingSubnodes.class,
            RecordingEvents.class,
            RecordingDaemons.class,
            Machine.class));
  }

  private static int max(List<Integer> sizes) {
    return sizes.stream().mapToInt(Integer::intValue).max().orElseThrow();
  }

  /** The processes of a machine, and the targets that are made for them. */
  private final class Machine implements TargetFactory, LocalSearch {
    private final Map<Long, String> commands = new TreeMap<>(); // guarded by this, all that follows
    private final List<SteppedJvm> jvms = new ArrayList<>();
    private long lastPid;
    private final AtomicInteger compared = new AtomicInteger();
    private volatile Consumer<List<LocalJvm>> found;

    synchronized void run(long pid) {
      commands.put(pid, "com.shop.Main");
      lastPid = pid;
    }

    synchronized void replaceOne() {
      commands.remove(commands.keySet().iterator().next());
      run(lastPid + 1);
    }

    synchronized void endAll() {
      commands.clear();
    }

    /** Returns when the targets' thread has seen what runs now, and has done with it. */
    void awaitSearch() throws Exception {
      Await.until("the search has begun", this::hasBegun);
      for (int i = 0; i < 2; i++) {
        int before = compared.get();
        found.accept(present());
        Await.until("the processes are looked at", () -> compared.get() > before);
      }
    }

    private synchronized boolean hasBegun() {
      return found != null;
    }

    private synchronized List<LocalJvm> present() {
      List<LocalJvm> present =
          new ArrayList<>() {
            private static final long serialVersionUID = 1L;

            @Override
            public Iterator<LocalJvm> iterator() {
              compared.incrementAndGet();
              return super.iterator();
            }
          };
      commands.forEach(
          (pid, command) ->
              present.add(
                  new LocalJvm(
                      new JvmProcess(pid, 1, 1000, pid, "hsperfdata_ann"), command, false)));
      return present;
    }

    void step() {
      List<SteppedJvm> all;
      synchronized (this) {
        all = new ArrayList<>(jvms);
      }
      for (SteppedJvm each : all) {
        if (targets.find(each.name()) == each) {
          each.step();
        } else {
          each.end();
          forget(each);
        }
      }
    }

    private synchronized void forget(SteppedJvm jvm) {
      jvms.remove(jvm);
    }

    synchronized int open() {
      return jvms.stream().mapToInt(SteppedJvm::open).sum();
    }

    @Override
    public Clock clock() {
      return clock;
    }

    @Override
    public LocalSearch search(long intervalMillis) {
      return this;
    }

    @Override
    public synchronized void start(Consumer<List<LocalJvm>> taker) {
      found = taker;
    }

    @Override
    public synchronized MonitoredJvm local(
        LocalJvm local, String name, String mainClass, Targets observer) {
      try {
        SteppedJvm made = new SteppedJvm(name, clock, random, watchdog, log, observer);
        jvms.add(made);
        return made;
      } catch (Exception e) {
        throw new IllegalStateException(e);
      }
    }

    @Override
    public MonitoredJvm remote(JmxConfig.Remote remote, Targets observer) {
      throw new UnsupportedOperationException();
    }

    @Override
    public void close() {}
  }
}
