package com.qrv.norvel.monitoring.jmx;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.discovery.JvmSearch;
import com.qrv.norvel.monitoring.jmx.discovery.LocalJvm;
import com.qrv.norvel.monitoring.jmx.discovery.LocalSearch;
import com.qrv.norvel.monitoring.jmx.discovery.SearchThread;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetKind;
import com.qrv.norvel.monitoring.jmx.monitored.TargetState;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

final class TargetsTest {
  private final RecordingSubnodes subnodes = new RecordingSubnodes();
  private final RecordingDaemons daemons = new RecordingDaemons();
  private final RecordingLog log = new RecordingLog();
  private final FakeFactory factory = new FakeFactory();
  private Targets targets;

  @AfterEach
  void stop() {
    targets.close();
  }

  @Test
  void aLocalJvmBecomesASubnodeOnceItIsReached() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> targets.find("Main:7") != null);
    assertThat(subnodes.registered()).doesNotContain("Main:7");

    factory.jvm("Main:7").reach();

    Await.until("it is shown", () -> subnodes.registered().contains("Main:7"));
    assertThat(subnodes.get("Main:7").infoSuffix()).isEqualTo("7");
  }

  @Test
  void aTargetThatIsLostIsNoSubnodeUntilItIsBack() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    FakeJvm jvm = factory.jvm("Main:7");
    jvm.reach();
    Await.until("it is shown", () -> subnodes.registered().contains("Main:7"));

    jvm.lose();

    Await.until("it is gone", () -> !subnodes.registered().contains("Main:7"));
    assertThat(targets.find("Main:7")).isSameAs(jvm);
    assertThat(jvm.isClosed()).isFalse();

    jvm.reach();
    Await.until("it is shown again", () -> subnodes.registered().contains("Main:7"));
  }

  @Test
  void aJvmThatEndsIsClosedAndForgotten() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    FakeJvm jvm = factory.jvm("Main:7");
    jvm.reach();
    Await.until("it is shown", () -> subnodes.registered().contains("Main:7"));

    factory.end(7);

    Await.until("it is gone", () -> !subnodes.registered().contains("Main:7"));
    assertThat(targets.find("Main:7")).isNull();
    assertThat(jvm.isClosed()).isTrue();
  }

  @Test
  void noMoreThanTheLimitAreMonitoredAndTheRestIsReportedOnce() throws Exception {
    factory.run(7, "com.shop.Main");
    factory.run(8, "com.shop.Main");
    start(1);
    Await.until("the limit is reported", () -> !log.errors().isEmpty());

    factory.end(7);
    Await.until("there is room", () -> targets.find("Main:8") != null);

    assertThat(log.errors())
        .containsExactly(
            "the local JVM Main:8 is not monitored: there are max_targets (1) already");
    assertThat(targets.statuses()).hasSize(2);
  }

  @Test
  void aJvmWithThePidOfAnEarlierOneGetsADaemonOfItsOwn() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    FakeJvm first = factory.jvm("Main:7");
    first.reach();
    Await.until("it has its daemon", () -> daemons.commands().size() == 1);

    factory.restartAll();
    Await.until("another is found", () -> factory.jvm("Main:7") != first);
    factory.jvm("Main:7").reach();

    Await.until("it has its own", () -> daemons.commands().size() == 2);
  }

  @Test
  void aSearchThatFailsOnceGoesOn() throws Exception {
    factory.run(7, "com.shop.Main");
    factory.failNextSearch(new IllegalStateException("on purpose"));
    start(10);

    Await.until("it is found", () -> targets.find("Main:7") != null);
    assertThat(log.errors()).hasSize(1);
  }

  @Test
  void aSearchThatHangsKeepsNobodyFromAConfiguredTarget() throws Exception {
    CountDownLatch hang = new CountDownLatch(1);
    factory.hangSearches(hang);
    start(10, new JmxConfig.Remote("far", null, "db1", 9010, null, null, List.of()));
    Await.until("it is known", () -> factory.jvm("far") != null);

    factory.jvm("far").reach();

    Await.until("it is shown", () -> subnodes.registered().contains("far"));
    targets.close();
    hang.countDown();
  }

  @Test
  void aMachineThatCannotBeSearchedKeepsNobodyFromAConfiguredTarget() throws Exception {
    factory.failToSearch(new IllegalStateException("on purpose"));
    start(10, new JmxConfig.Remote("far", null, "db1", 9010, null, null, List.of()));
    Await.until("it is known", () -> factory.jvm("far") != null);

    factory.jvm("far").reach();

    Await.until("it is shown", () -> subnodes.registered().contains("far"));
    assertThat(log.errors())
        .containsExactly(
            "the local JVMs are not up to date: java.lang.IllegalStateException: on purpose");
  }

  @Test
  void newBeansAreLookedForOnceAMinute() throws Exception {
    ManualClock clock = new ManualClock();
    factory.clock = clock;
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    FakeJvm jvm = factory.jvm("Main:7");
    jvm.reach();
    Await.until("it is shown", () -> subnodes.registered().contains("Main:7"));
    targets.up(jvm);
    assertThat(jvm.asked.get()).as("listening begins at once").isEqualTo(1);

    clock.advance(59_999);
    jvm.lose();
    Await.until("another round is over", () -> !subnodes.registered().contains("Main:7"));
    assertThat(jvm.asked.get()).isEqualTo(1);

    clock.advance(1);
    jvm.reach();
    Await.until("new beans are looked for", () -> jvm.asked.get() == 2);
  }

  @Test
  void whatEndsOneTurnDoesNotEndTheNext() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    factory.failNextSearch(new OutOfMemoryError("on purpose"));
    factory.jvm("Main:7").failNextLook(new StackOverflowError("on purpose"));
    Await.until("both are reported", () -> log.errors().size() == 2);

    factory.run(8, "com.shop.Main");
    factory.jvm("Main:7").reach();

    Await.until("it is shown", () -> subnodes.registered().contains("Main:7"));
    Await.until("the other is found", () -> targets.find("Main:8") != null);
  }

  @Test
  void aTargetThatIsReachedAfterItVanishedIsNotListenedTo() throws Exception {
    factory.run(7, "com.shop.Main");
    start(10);
    Await.until("it is found", () -> factory.jvm("Main:7") != null);
    FakeJvm jvm = factory.jvm("Main:7");
    targets.up(jvm);
    assertThat(jvm.asked).hasValue(1);
    targets.vanished("Main:7");

    targets.up(jvm);

    assertThat(jvm.asked).hasValue(1);
  }

  @Test
  void itsEndIsTheEndOfWhatServesTheTargets() throws Exception {
    start(10);

    targets.close();

    assertThat(factory.isClosed()).isTrue();
  }

  private void start(int limit, JmxConfig.Remote... remote) {
    JmxConfig.Local local =
        new JmxConfig.Local(true, 1000, Collections.singletonList("*"), new ArrayList<>());
    JmxConfig config =
        new JmxConfig(
            local,
            List.of(remote),
            new JmxConfig.Calls(1000, 100, 100, 30_000, 10_000),
            limit,
            List.of(),
            List.of(),
            List.of());
    DaemonRule rule =
        new DaemonRule("watch", List.of("/opt/watch"), true, null, null, null, Map.of());
    DaemonStarter starter = new DaemonStarter(List.of(rule), daemons, Clock.SYSTEM, log);
    BeanNotifications notifications = new BeanNotifications(List.of(), Clock.SYSTEM, 1000, log);
    SelfJvm self = new SelfJvm("me", Clock.SYSTEM, log);
    targets = new Targets(config, self, factory, subnodes, starter, notifications, log);
    targets.start();
  }

  private static void raise(Throwable failure) {
    if (failure instanceof Error error) {
      throw error;
    } else if (failure != null) {
      throw (RuntimeException) failure;
    }
  }

  private final class FakeFactory implements TargetFactory, JvmSearch {
    private final Map<Long, String> commands = new TreeMap<>();
    private final Map<String, FakeJvm> made = new HashMap<>();
    private volatile RuntimeException searchFailure; // null to be able to search
    private volatile CountDownLatch hang; // null to search without delay
    private Throwable failure;
    private long startTicks = 1;
    private volatile Clock clock = Clock.SYSTEM;
    private boolean closed;

    synchronized void run(long pid, String command) {
      commands.put(pid, command);
    }

    synchronized void end(long pid) {
      commands.remove(pid);
    }

    /** Other processes have the pids at once, before anybody looks. */
    synchronized void restartAll() {
      startTicks++;
    }

    synchronized void failNextSearch(Throwable thrown) {
      failure = thrown;
    }

    void failToSearch(RuntimeException thrown) {
      searchFailure = thrown;
    }

    void hangSearches(CountDownLatch latch) {
      hang = latch;
    }

    synchronized FakeJvm jvm(String name) {
      return made.get(name);
    }

    @Override
    public Clock clock() {
      return clock;
    }

    @Override
    public LocalSearch search(long intervalMillis) {
      raise(searchFailure);
      return new SearchThread(this, intervalMillis, clock, log);
    }

    @Override
    public synchronized MonitoredJvm local(
        LocalJvm local, String name, String mainClass, Targets targets) {
      FakeJvm jvm = new FakeJvm(name, local.pid(), targets);
      made.put(name, jvm);
      return jvm;
    }

    @Override
    public synchronized MonitoredJvm remote(JmxConfig.Remote remote, Targets targets) {
      FakeJvm jvm = new FakeJvm(remote.name(), TargetStatus.UNKNOWN, targets);
      made.put(remote.name(), jvm);
      return jvm;
    }

    @Override
    public synchronized void close() {
      closed = true;
    }

    synchronized boolean isClosed() {
      return closed;
    }

    @Override
    public List<LocalJvm> search() throws InterruptedException {
      if (hang != null) {
        hang.await();
      }
      return present();
    }

    private synchronized List<LocalJvm> present() {
      Throwable thrown = failure;
      failure = null;
      raise(thrown);
      List<LocalJvm> found = new ArrayList<>();
      commands.forEach(
          (pid, command) ->
              found.add(
                  new LocalJvm(
                      new JvmProcess(pid, startTicks, 1000, pid, "hsperfdata_ann"),
                      command,
                      false)));
      return found;
    }
  }

  private static final class FakeJvm implements MonitoredJvm {
    private final String name;
    private final long pid;
    private final Targets targets;
    private final AtomicInteger asked = new AtomicInteger(); // work for later
    private volatile boolean reached;
    private volatile Error failure;
    private volatile boolean closed;

    FakeJvm(String name, long pid, Targets targets) {
      this.name = name;
      this.pid = pid;
      this.targets = targets;
    }

    void reach() {
      reached = true;
      targets.presenceChanged();
    }

    void failNextLook(Error thrown) {
      failure = thrown;
    }

    void lose() {
      reached = false;
      targets.presenceChanged();
    }

    boolean isClosed() {
      return closed;
    }

    @Override
    public String name() {
      return name;
    }

    @Override
    public boolean isPresent() {
      Error thrown = failure;
      failure = null;
      raise(thrown);
      return reached;
    }

    @Override
    public TargetStatus status() {
      return new TargetStatus(
          name, TargetKind.LOCAL, name, pid, "", TargetState.UP, 0, "", 0, 0, 0, List.of());
    }

    @Override
    public void start() {}

    @Override
    public void close() {
      closed = true;
    }

    @Override
    public void retryNow() {}

    @Override
    public Object[][] sample(BeanTable table) {
      return new Object[0][];
    }

    @Override
    public void later(String key, TargetWork<?> work) {
      asked.incrementAndGet();
    }

    @Override
    public <T> T work(String key, TargetWork<T> work) {
      throw new UnsupportedOperationException(key);
    }
  }
}
