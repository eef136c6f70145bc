package com.qrv.norvel.monitoring.jmx;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.discovery.LocalProcess;
import com.qrv.norvel.monitoring.jmx.discovery.ProcessTable;
import com.qrv.norvel.monitoring.jmx.monitored.CallWatchdog;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SteppedJvm;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.Set;
import java.util.TreeMap;
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
    machine.awaitSearches();
    List<Integer> sizes = new ArrayList<>();
    for (int step = 0; step < 24 * STEPS_OF_AN_HOUR; step++) {
      clock.advance(STEP_MILLIS);
      if (step % 30 == 0) {
        machine.replaceOne();
        agent.watch(TABLE, "s", step % 60 == 0);
        machine.awaitSearches();
      }
      machine.step();
      assertThat(machine.open()).as("connections at step %d", step).isLessThanOrEqualTo(5);
      if (step % STEPS_OF_AN_HOUR == STEPS_OF_AN_HOUR - 1) {
        machine.awaitSearches();
        sizes.add(size());
      }
    }
    assertThat(clock.millis()).isGreaterThan(86_400_000L);
    assertThat(log.errors().size()).as("faults that were told").isGreaterThan(500);
    int morning = max(sizes.subList(0, 12));
    assertThat(max(sizes.subList(12, 24))).as("sizes %s", sizes).isLessThan(morning + morning / 5);

    machine.endAll();
    machine.awaitSearches();
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
  private final class Machine implements TargetFactory, ProcessTable {
    private final Map<Long, String> commands = new TreeMap<>(); // guarded by this, all that follows
    private final List<SteppedJvm> jvms = new ArrayList<>();
    private long lastPid;
    private int searches;

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
    void awaitSearches() throws Exception {
      for (int i = 0; i < 2; i++) {
        // Counted first: as soon as the clock moves, a search may come by itself.
        int before = searches();
        clock.advance(1000);
        targets.presenceChanged();
        Await.until("the processes are looked at", () -> searches() > before);
      }
    }

    synchronized int searches() {
      return searches;
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
    public ProcessTable processes() {
      return this;
    }

    @Override
    public synchronized MonitoredJvm local(
        LocalProcess process, String name, String mainClass, Targets observer) {
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

    @Override
    public synchronized List<Long> pids() {
      searches++;
      return new ArrayList<>(commands.keySet());
    }

    @Override
    public synchronized LocalProcess look(long pid) {
      return commands.containsKey(pid) ? new LocalProcess(pid, 1, true, false, true) : null;
    }

    @Override
    public synchronized Map<Long, String> commands() {
      return new TreeMap<>(commands);
    }
  }
}
