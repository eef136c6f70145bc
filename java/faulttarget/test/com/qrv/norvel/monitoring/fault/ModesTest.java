package com.qrv.norvel.monitoring.fault;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.math.BigInteger;
import java.util.List;
import java.util.Set;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import javax.management.MBeanServerConnection;
import javax.management.Notification;
import javax.management.ObjectName;
import javax.management.RuntimeErrorException;
import javax.management.RuntimeMBeanException;
import javax.management.remote.JMXConnector;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** What clients of the running program see. */
class ModesTest {
  private static final long GENEROUS_SECONDS = 60;
  private static final ObjectName RUNTIME = Names.of("java.lang:type=Runtime");
  private static final ObjectName THREADING = Names.of("java.lang:type=Threading");

  @Test
  void aWellTargetGivesItsAttributes() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();

      assertThat(server.getAttribute(RUNTIME, "Pid")).isEqualTo(target.pid());
      assertThat(server.getAttributes(THREADING, new String[] {"ThreadCount", "PeakThreadCount"}))
          .hasSize(2);
      assertThat(ChildTarget.control(connector).getStatus()).isEqualTo("well");
    }
  }

  @Test
  void hangBlocksReadsUntilItIsSwitchedOffThroughTheControlBean() throws Exception {
    try (ChildTarget target = ChildTarget.start("hang");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      CompletableFuture<Object> read =
          CompletableFuture.supplyAsync(
              () -> {
                try {
                  return server.getAttribute(RUNTIME, "Pid");
                } catch (Exception e) {
                  return e;
                }
              });

      // Other calls come and go meanwhile.
      assertThat(server.getDefaultDomain()).isNotEmpty();
      assertThat(ChildTarget.control(connector).getStatus()).isEqualTo("hang=on");
      assertThat(read).isNotDone();
      assertThat(ChildTarget.control(connector).apply("hang=off")).isEqualTo("well");

      assertThat(read.get(GENEROUS_SECONDS, TimeUnit.SECONDS)).isEqualTo(target.pid());
    }
  }

  @Test
  void slowCountsEachAttribute() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      assertThat(target.command("slow=150")).isEqualTo("now slow=150");

      long start = System.nanoTime();
      server.getAttributes(THREADING, new String[] {"ThreadCount", "PeakThreadCount"});
      assertThat(System.nanoTime() - start).isGreaterThanOrEqualTo(300_000_000L);

      start = System.nanoTime();
      server.getAttribute(THREADING, "ThreadCount");
      assertThat(System.nanoTime() - start).isGreaterThanOrEqualTo(150_000_000L);
    }
  }

  @Test
  void dropClosesConnectionsAtOnceOrAfterSomeBytes() throws Exception {
    try (ChildTarget target = ChildTarget.start("drop=0")) {
      assertThatThrownBy(target::connect).isInstanceOf(IOException.class);

      target.command("drop=off");
      try (JMXConnector connector = target.connect()) {
        MBeanServerConnection server = connector.getMBeanServerConnection();
        assertThat(server.getAttribute(RUNTIME, "Pid")).isEqualTo(target.pid());

        target.command("drop=10000");
        assertThatThrownBy(
            () -> {
              for (int i = 0; i < 10_000; i++) {
                server.getAttribute(RUNTIME, "Pid");
              }
            })
            .isInstanceOf(IOException.class);
        target.command("drop=off");
      }
    }
  }

  @ParameterizedTest
  @CsvSource({
    "beans, 'zel.fault:type=Bean,name=*'",
    "pools, 'java.nio:type=BufferPool,name=fault-*'"
  })
  void beansComeAndGo(String mode, String pattern) throws Exception {
    try (ChildTarget target = ChildTarget.start(mode + "=5000");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      Set<ObjectName> names = server.queryNames(new ObjectName(pattern), null);

      assertThat(names).hasSize(5000);
      ObjectName some = names.iterator().next();
      String[] attributes = {"Name", "Count", "MemoryUsed", "TotalCapacity"};
      assertThat(server.getAttributes(some, attributes)).hasSize(4);
      target.command(mode + "=10");
      assertThat(server.queryNames(new ObjectName(pattern), null)).hasSize(10);
      target.command(mode + "=off");
      assertThat(server.queryNames(new ObjectName(pattern), null)).isEmpty();
    }
  }

  @Test
  void throwSpoilsOneAttributeOfEachKind() throws Exception {
    try (ChildTarget target = ChildTarget.start("throw");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();

      assertThatThrownBy(() -> server.getAttribute(RUNTIME, "VmVendor"))
          .isInstanceOf(RuntimeMBeanException.class)
          .hasCauseInstanceOf(IllegalStateException.class);
      assertThatThrownBy(() -> server.getAttribute(THREADING, "PeakThreadCount"))
          .isInstanceOf(RuntimeMBeanException.class)
          .hasCauseInstanceOf(UnsupportedOperationException.class);
      assertThatThrownBy(
          () -> server.getAttribute(Names.of("java.lang:type=ClassLoading"),
              "UnloadedClassCount"))
          .isInstanceOf(RuntimeErrorException.class);
      assertThat(
          server.getAttribute(Names.of("java.lang:type=OperatingSystem"), "Arch").getClass())
          .isEqualTo(Victim.Foreign.class);
      // As an MBean server does: what can't be read is left out of a bulk read.
      assertThat(server.getAttributes(THREADING, new String[] {"ThreadCount", "PeakThreadCount"}))
          .hasSize(1);

      target.command("throw=off");
      assertThat(server.getAttribute(RUNTIME, "VmVendor"))
          .isEqualTo(ManagementFactory.getRuntimeMXBean().getVmVendor());
    }
  }

  @Test
  void theThrowerHasAttributesOfEachKindAndAGoodOne() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();

      assertThat(server.getAttribute(Thrower.NAME, "Good")).isEqualTo("good");
      assertThatThrownBy(() -> server.getAttribute(Thrower.NAME, "Runtime"))
          .isInstanceOf(RuntimeMBeanException.class);
      assertThatThrownBy(() -> server.getAttribute(Thrower.NAME, "Unsupported"))
          .isInstanceOf(RuntimeMBeanException.class);
      assertThatThrownBy(() -> server.getAttribute(Thrower.NAME, "Error"))
          .isInstanceOf(RuntimeErrorException.class);
      assertThat(server.getAttribute(Thrower.NAME, "Foreign").getClass())
          .isEqualTo(Victim.Foreign.class);
    }
  }

  @Test
  void nestAndDigitsSpoilAttributesWithValuesThatCostTheirReader() throws Exception {
    // Read here in this process, because they would keep a client busy.
    assertThat(((Set<?>) Victim.SETS.value())).hasSize(2);
    assertThat((List<?>) Victim.LISTS.value()).hasSize(2);
    try (ChildTarget target = ChildTarget.start("digits");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      ObjectName system = Names.of("java.lang:type=OperatingSystem");

      assertThat(((BigInteger) server.getAttribute(system, "Version")).bitLength())
          .isGreaterThan(1_000_000);
      assertThat(server.getAttribute(system, "ProcessCpuTime"))
          .isEqualTo(Double.POSITIVE_INFINITY);
      target.command("off");
      assertThat(server.getAttribute(system, "ProcessCpuTime")).isInstanceOf(Long.class);
    }
  }

  @Test
  void namesAreLongAndOthersAtEachLook() throws Exception {
    try (ChildTarget target = ChildTarget.start("names=20");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      ObjectName pattern = Names.of("java.nio:type=BufferPool,name=fault-*");

      Set<ObjectName> first = server.queryNames(pattern, null);
      Set<ObjectName> second = server.queryNames(pattern, null);

      assertThat(first).hasSize(20).allMatch(name -> name.toString().length() > 5000);
      assertThat(second).hasSize(20).doesNotContainAnyElementsOf(first);
      target.command("off");
      assertThat(server.queryNames(pattern, null)).isEmpty();
    }
  }

  @Test
  void gcProvokesCollections() throws Exception {
    try (ChildTarget target = ChildTarget.start("gc=20");
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      ObjectName old = Names.of("java.lang:type=GarbageCollector,name=MarkSweepCompact");

      long before = (Long) server.getAttribute(old, "CollectionCount");
      long deadline = System.nanoTime() + TimeUnit.SECONDS.toNanos(GENEROUS_SECONDS);
      while ((Long) server.getAttribute(old, "CollectionCount") < before + 5) {
        assertThat(System.nanoTime()).isLessThan(deadline);
      }
    }
  }

  @Test
  void notifySendsNotificationsWithoutGaps() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      LinkedBlockingQueue<Notification> received = new LinkedBlockingQueue<>();
      connector
          .getMBeanServerConnection()
          .addNotificationListener(Notifier.NAME, (tick, handback) -> received.add(tick), null,
              null);

      target.command("notify=1000");

      for (long number = 1; number <= 50; number++) {
        Notification tick = received.poll(GENEROUS_SECONDS, TimeUnit.SECONDS);
        assertThat(tick).isNotNull();
        assertThat(tick.getType()).isEqualTo("zel.fault.tick");
        assertThat(tick.getSequenceNumber()).isEqualTo(number);
      }
    }
  }

  @Test
  void clientsCallWhatTheAgentNeedsAndNothingElse() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      MBeanServerConnection server = connector.getMBeanServerConnection();
      ObjectName diagnostics = Names.of("com.sun.management:type=DiagnosticCommand");
      Object[] none = {new String[0]};
      String[] texts = {String[].class.getName()};

      server.invoke(Names.of("java.lang:type=Memory"), "gc", null, null);
      assertThat(server.invoke(diagnostics, "gcClassHistogram", none, texts)).asString()
          .contains("#instances");

      assertThatThrownBy(
          () -> server.invoke(
              diagnostics, "jvmtiAgentLoad", new Object[] {new String[] {"/x.so"}}, texts))
          .isInstanceOf(SecurityException.class)
          .hasMessage("a fault target does not do jvmtiAgentLoad for others");
      assertThatThrownBy(() -> server.invoke(THREADING, "resetPeakThreadCount", null, null))
          .isInstanceOf(SecurityException.class);
    }
  }

  @Test
  void clientsCanNotBringObjects() throws Exception {
    try (ChildTarget target = ChildTarget.start();
        JMXConnector connector = target.connect()) {
      assertThatThrownBy(
          () -> connector.getMBeanServerConnection()
              .createMBean("javax.management.timer.Timer", new ObjectName("a:type=Timer")))
          .isInstanceOf(SecurityException.class);
    }
  }
}
