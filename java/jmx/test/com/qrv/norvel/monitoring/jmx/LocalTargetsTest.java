package com.qrv.norvel.monitoring.jmx;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetException;
import com.qrv.norvel.monitoring.jmx.monitored.TargetState;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import java.lang.management.ManagementFactory;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import javax.management.ObjectName;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** The whole way to real JVMs: found, attached to, read, stopped, ended. */
final class LocalTargetsTest {
  private static final int CALL_MILLIS = 2000;
  private static final int PID = 0;

  private final RecordingSubnodes subnodes = new RecordingSubnodes();
  private final RecordingLog log = new RecordingLog();
  private final FakeAgent agent = new FakeAgent();
  private final BeanNotifications notifications =
      new BeanNotifications(List.of(), Clock.SYSTEM, 1000, log);
  private Targets targets;

  @AfterEach
  void stop() {
    targets.close();
  }

  @Test
  void aCollectionInAnotherJvmIsHeardOfWhileSomebodyWatches() throws Exception {
    try (ChildJvm child = ChildJvm.start()) {
      start();
      MonitoredJvm jvm = awaitSubnode(child);
      agent.watch("JVM_GC_EVENT", "a", true);
      RecordingEvents events = agent.events("JVM_GC_EVENT");

      Await.until(
          "a collection is heard of",
          () -> {
            jvm.work("gc", new CollectOnce());
            return events.events().stream()
                .anyMatch(event -> jvm.name().equals(event.get("ORIGINNODE")));
          });
    }
  }

  private static final class CollectOnce implements TargetWork<Object> {
    @Override
    public Object on(Link link) throws Exception {
      ObjectName memory = new ObjectName(ManagementFactory.MEMORY_MXBEAN_NAME);
      return link.server().invoke(memory, "gc", new Object[0], new String[0]);
    }
  }

  @Test
  void findsALocalJvmReadsItsTablesAndForgetsItWhenItEnds() throws Exception {
    try (ChildJvm child = ChildJvm.start()) {
      start();
      MonitoredJvm jvm = awaitSubnode(child);

      for (BeanTable table : StandardTables.all()) {
        Object[][] rows = jvm.sample(table);
        assertThat(rows).as(table.name()).isNotEmpty();
        assertThat(rows[0]).as(table.name()).hasSize(table.width());
      }
      assertThat(jvm.sample(StandardTables.RUNTIME)[0][PID]).isEqualTo(child.pid());
      assertThat(subnodes.get(child.name()).info()).isEqualTo("local");

      child.kill();
      Await.until("the subnode is gone", () -> !subnodes.registered().contains(child.name()));
      assertThat(targets.find(child.name())).isNull();
      assertThat(subnodes.registered()).containsExactly("self");
    }
    assertThat(log.errors()).isEmpty();
  }

  @Test
  void aStoppedJvmDelaysNoOtherAndComesBackWhenItRunsAgain() throws Exception {
    try (ChildJvm stopped = ChildJvm.start();
        ChildJvm running = ChildJvm.start()) {
      start();
      MonitoredJvm sick = awaitSubnode(stopped);
      MonitoredJvm healthy = awaitSubnode(running);
      sick.sample(StandardTables.MEMORY);
      healthy.sample(StandardTables.MEMORY);

      stopped.signal("STOP");
      Await.until("it stands still", stopped::isStopped);
      assertThatThrownBy(() -> sick.sample(StandardTables.MEMORY))
          .isInstanceOf(TargetException.class)
          .hasMessageContaining("no answer in time");

      // While it hangs it is refused at once, and the other one answers as ever.
      long start = System.nanoTime();
      for (int i = 0; i < 50; i++) {
        assertThatThrownBy(() -> sick.sample(StandardTables.MEMORY))
            .isInstanceOf(TargetException.class);
        assertThat(healthy.sample(StandardTables.MEMORY)).hasSize(1);
      }
      assertThat((System.nanoTime() - start) / 1_000_000).isLessThan(2 * CALL_MILLIS);
      Await.until("the call has ended", () -> sick.status().state() == TargetState.DOWN);

      stopped.signal("CONT");
      Await.until("it is up again", () -> sick.status().state() == TargetState.UP);
      assertThat(sick.sample(StandardTables.RUNTIME)[0][PID]).isEqualTo(stopped.pid());
      assertThat(subnodes.registered()).contains(stopped.name(), running.name());
    }
  }

  @Test
  void jvmsThatCannotBearItAreLeftAlone() throws Exception {
    try (ChildJvm fragile = ChildJvm.start("-Xrs");
        ChildJvm closed = ChildJvm.start("-XX:+DisableAttachMechanism");
        ChildJvm other = ChildJvm.start()) {
      start();
      // All have been looked at by the time that the last one is a subnode.
      awaitSubnode(other);

      assertThat(targets.find(fragile.name())).isNull();
      assertThat(fragile.isAlive()).isTrue();
      assertThat(targets.find(closed.name())).isNull();
    }
  }

  private void start() {
    JmxConfig.Local local =
        new JmxConfig.Local(
            true, 1000, Collections.singletonList("*ChildJvm$Main"), new ArrayList<>());
    JmxConfig.Calls calls = new JmxConfig.Calls(CALL_MILLIS, 200, 1000, 30_000, 10_000);
    JmxConfig config =
        new JmxConfig(local, new ArrayList<>(), calls, 10, List.of(), List.of(), List.of());
    targets =
        new Targets(
            config,
            new SelfJvm("tests", Clock.SYSTEM, log),
            new JmxTargetFactory(calls, Clock.SYSTEM, log),
            subnodes,
            new DaemonStarter(List.of(), new RecordingDaemons(), Clock.SYSTEM, log),
            notifications,
            log);
    notifications.register(agent);
    targets.start();
  }

  private MonitoredJvm awaitSubnode(ChildJvm child) throws Exception {
    Await.until(
        child.name() + " is a subnode", () -> subnodes.registered().contains(child.name()));
    return targets.find(child.name());
  }
}
