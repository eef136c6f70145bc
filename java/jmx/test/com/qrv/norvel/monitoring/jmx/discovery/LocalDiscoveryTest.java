package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

final class LocalDiscoveryTest implements LocalListener {
  private final Map<Long, LocalJvm> jvms = new LinkedHashMap<>();
  private final List<String> events = new ArrayList<>();
  private final LocalDiscovery discovery =
      new LocalDiscovery(
          new Patterns(Collections.singletonList("*"), Collections.singletonList("*.Tool")), this);
  private boolean isFull;

  @Test
  void tellsOfAJvmOnceAndOfItsEndOnce() {
    run(7, 1, "com.shop.Main x");

    compare(2);
    jvms.clear();
    compare(2);

    assertThat(events).containsExactly("appeared Main:7 com.shop.Main", "vanished Main:7");
  }

  @Test
  void aPidThatIsUsedAgainIsAnotherJvm() {
    run(7, 1, "com.shop.Main");
    compare(1);
    run(7, 999, "com.shop.Next");

    compare(1);

    assertThat(events)
        .containsExactly(
            "appeared Main:7 com.shop.Main", "vanished Main:7", "appeared Next:7 com.shop.Next");
  }

  @Test
  void aStoppedJvmIsLeftAloneUntilItRuns() {
    stop(7, "com.shop.Main");
    compare(1);
    assertThat(events).isEmpty();

    run(7, 1, "com.shop.Main");
    compare(1);
    assertThat(events).containsExactly("appeared Main:7 com.shop.Main");
  }

  @Test
  void tellsWhenAStoppedJvmRunsAgain() {
    run(7, 1, "com.shop.Main");
    compare(1);
    stop(7, "com.shop.Main");
    compare(2);
    run(7, 1, "com.shop.Main");
    compare(2);

    assertThat(events).containsExactly("appeared Main:7 com.shop.Main", "resumed Main:7");
  }

  @Test
  void excludedClassesAreNotMonitored() {
    run(7, 1, "com.shop.Tool");

    compare(3);

    assertThat(events).isEmpty();
  }

  @Test
  void aJvmThatPublishesNoCommandIsMonitoredAllTheSame() {
    run(7, 1, "");

    compare(1);

    assertThat(events).containsExactly("appeared jvm:7 ");
  }

  @Test
  void oneThatCouldNotBeTakenIsOfferedAgain() {
    run(7, 1, "com.shop.Main");
    isFull = true;
    compare(1);
    isFull = false;

    compare(2);

    assertThat(events)
        .containsExactly("appeared Main:7 com.shop.Main", "appeared Main:7 com.shop.Main");
  }

  private void run(long pid, long startTicks, String command) {
    jvms.put(pid, jvm(pid, startTicks, command, false));
  }

  private void stop(long pid, String command) {
    jvms.put(pid, jvm(pid, 1, command, true));
  }

  private static LocalJvm jvm(long pid, long startTicks, String command, boolean isStopped) {
    return new LocalJvm(
        new JvmProcess(pid, startTicks, 1000, pid, "hsperfdata_ann"), command, isStopped);
  }

  private void compare(int times) {
    for (int i = 0; i < times; i++) {
      discovery.compare(new ArrayList<>(jvms.values()));
    }
  }

  @Override
  public boolean appeared(LocalJvm jvm, String name, String mainClass) {
    events.add("appeared " + name + " " + mainClass);
    return !isFull;
  }

  @Override
  public void vanished(String name) {
    events.add("vanished " + name);
  }

  @Override
  public void resumed(String name) {
    events.add("resumed " + name);
  }
}
