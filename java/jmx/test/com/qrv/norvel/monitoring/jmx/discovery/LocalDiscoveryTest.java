package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

final class LocalDiscoveryTest implements ProcessTable, LocalListener {
  private final Map<Long, LocalProcess> processes = new LinkedHashMap<>();
  private final Map<Long, String> commands = new HashMap<>();
  private final List<String> events = new ArrayList<>();
  private final LocalDiscovery discovery =
      new LocalDiscovery(
          this,
          new Patterns(Collections.singletonList("*"), Collections.singletonList("*.Tool")),
          this);
  private int commandReads;
  private boolean isFull;

  @Test
  void tellsOfAJvmOnceAndOfItsEndOnce() {
    run(7, "com.shop.Main x");

    scan(2);
    processes.clear();
    scan(2);

    assertThat(events).containsExactly("appeared Main:7 com.shop.Main", "vanished Main:7");
  }

  @Test
  void readsTheCommandsOnlyWhenThereIsANewJvm() {
    run(7, "com.shop.Main");
    run(8, "com.shop.Other");

    scan(5);

    assertThat(commandReads).isEqualTo(1);
  }

  @Test
  void aPidThatIsUsedAgainIsAnotherJvm() {
    run(7, "com.shop.Main");
    scan(1);
    processes.put(7L, new LocalProcess(7, 999, true, false, true));
    commands.put(7L, "com.shop.Next");

    scan(1);

    assertThat(events)
        .containsExactly(
            "appeared Main:7 com.shop.Main", "vanished Main:7", "appeared Next:7 com.shop.Next");
  }

  @Test
  void whatWouldDieOrIsStoppedOrForeignIsLeftAloneUntilThatChanges() {
    commands.put(7L, "com.shop.Main");
    processes.put(7L, new LocalProcess(7, 1, false, false, true));
    scan(1);
    processes.put(7L, new LocalProcess(7, 1, true, true, true));
    scan(1);
    processes.put(7L, new LocalProcess(7, 1, true, false, false));
    scan(1);
    assertThat(events).isEmpty();

    processes.put(7L, new LocalProcess(7, 1, true, false, true));
    scan(1);
    assertThat(events).containsExactly("appeared Main:7 com.shop.Main");
  }

  @Test
  void tellsWhenAStoppedJvmRunsAgain() {
    run(7, "com.shop.Main");
    scan(1);
    processes.put(7L, new LocalProcess(7, 1, true, true, true));
    scan(2);
    run(7, "com.shop.Main");
    scan(2);

    assertThat(events).containsExactly("appeared Main:7 com.shop.Main", "resumed Main:7");
  }

  @Test
  void excludedClassesAreNotMonitored() {
    run(7, "com.shop.Tool");

    scan(3);

    assertThat(events).isEmpty();
  }

  @Test
  void aJvmThatPublishesNoCommandIsMonitoredAllTheSame() {
    run(7, "");

    scan(1);

    assertThat(events).containsExactly("appeared jvm:7 ");
  }

  @Test
  void aJvmThatIsJustStartingIsTakenWhenItIsReady() {
    processes.put(7L, new LocalProcess(7, 1, true, false, true));
    scan(2);
    commands.put(7L, "com.shop.Main");

    scan(1);

    assertThat(events).containsExactly("appeared Main:7 com.shop.Main");
  }

  @Test
  void aJvmThatDoesNotAllowToBeAttachedToIsLeftAlone() {
    processes.put(7L, new LocalProcess(7, 1, true, false, true));

    scan(10);

    assertThat(events).isEmpty();
    assertThat(commandReads).isEqualTo(3);
  }

  @Test
  void oneThatCouldNotBeTakenIsOfferedAgain() {
    run(7, "com.shop.Main");
    isFull = true;
    scan(1);
    isFull = false;

    scan(2);

    assertThat(events)
        .containsExactly("appeared Main:7 com.shop.Main", "appeared Main:7 com.shop.Main");
  }

  private void run(long pid, String command) {
    processes.put(pid, new LocalProcess(pid, 1, true, false, true));
    commands.put(pid, command);
  }

  private void scan(int times) {
    for (int i = 0; i < times; i++) {
      discovery.scan();
    }
  }

  @Override
  public List<Long> pids() {
    return new ArrayList<>(processes.keySet());
  }

  @Override
  public LocalProcess look(long pid) {
    return processes.get(pid);
  }

  @Override
  public Map<Long, String> commands() {
    commandReads++;
    return commands;
  }

  @Override
  public boolean appeared(LocalProcess process, String name, String mainClass) {
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
