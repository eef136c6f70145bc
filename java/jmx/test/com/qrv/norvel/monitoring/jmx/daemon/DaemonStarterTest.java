package com.qrv.norvel.monitoring.jmx.daemon;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingDaemons;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.monitored.TargetKind;
import com.qrv.norvel.monitoring.jmx.monitored.TargetState;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

final class DaemonStarterTest {
  private final ManualClock clock = new ManualClock();
  private final RecordingLog log = new RecordingLog();
  private final RecordingDaemons daemons = new RecordingDaemons();
  private final DaemonStarter starter =
      new DaemonStarter(
          List.of(
              rule("recording", true, "/usr/bin/jcmd", "${pid}", "JFR.start", "name=${subnode}"),
              rule("watch", false, "/opt/watch")),
          daemons,
          clock,
          log);

  @Test
  void aLocalTargetGetsItsDaemonWithPidAndName() {
    starter.present(target(TargetKind.LOCAL, "shop:17", 17), 1);

    assertThat(daemons.commands()).hasSize(1);
    assertThat(daemons.commands().get(0).words())
        .containsExactly("/usr/bin/jcmd", "17", "JFR.start", "name=shop:17");
  }

  @Test
  void theAgentGetsTheDaemonsThatAreForIt() {
    starter.present(target(TargetKind.SELF, "self", 1), 1);

    assertThat(daemons.commands()).hasSize(1);
    assertThat(daemons.commands().get(0).words()).containsExactly("/opt/watch");
  }

  @Test
  void aTargetOfAnotherMachineGetsNone() {
    starter.present(target(TargetKind.REMOTE, "far", TargetStatus.UNKNOWN), 1);

    assertThat(daemons.commands()).isEmpty();
  }

  @Test
  void aProcessThatComesBackGetsNoSecondDaemonAndItsSuccessorDoes() {
    starter.present(target(TargetKind.LOCAL, "shop", 17), 1);
    starter.present(target(TargetKind.LOCAL, "shop", 17), 1);
    starter.present(target(TargetKind.LOCAL, "shop", 18), 1);

    assertThat(daemons.commands()).hasSize(2);
  }

  @Test
  void anotherProcessWithTheSamePidGetsItsOwn() {
    starter.present(target(TargetKind.LOCAL, "shop", 17), 1000);
    starter.vanished("shop");
    starter.present(target(TargetKind.LOCAL, "shop", 17), 1000);
    assertThat(daemons.commands()).hasSize(1);

    starter.vanished("shop");
    starter.present(target(TargetKind.LOCAL, "shop", 17), 2000);

    assertThat(daemons.commands()).hasSize(2);
  }

  @Test
  void targetsThatComeAndGoInALoopDoNotFloodTheMachine() {
    for (int pid = 1; pid <= 2 * DaemonStarter.MAX_PER_HOUR; pid++) {
      starter.present(target(TargetKind.LOCAL, "shop", pid), 1);
      starter.vanished("shop");
    }

    assertThat(daemons.commands()).hasSize(DaemonStarter.MAX_PER_HOUR);
    assertThat(log.errors())
        .containsExactly("daemon recording for shop has to wait: 100 were started within an hour");

    clock.advance(3_600_000);
    starter.present(target(TargetKind.LOCAL, "shop", 999), 1);
    assertThat(daemons.commands()).hasSize(DaemonStarter.MAX_PER_HOUR + 1);
  }

  @Test
  void whatIsTooManyForAnHourComesInTheNext() {
    for (int pid = 1; pid <= DaemonStarter.MAX_PER_HOUR + 2; pid++) {
      starter.present(target(TargetKind.LOCAL, "shop:" + pid, pid), 1);
    }
    starter.vanished("shop:101");
    clock.advance(3_599_999);
    starter.run();
    assertThat(daemons.commands()).hasSize(DaemonStarter.MAX_PER_HOUR);

    clock.advance(1);
    starter.run();
    starter.run();

    assertThat(daemons.commands()).hasSize(DaemonStarter.MAX_PER_HOUR + 1);
    assertThat(daemons.commands().get(DaemonStarter.MAX_PER_HOUR).words()).contains("102");
  }

  @Test
  void theEnvironmentAndTheFilesArePassedOn() {
    Map<String, String> environment = new LinkedHashMap<>();
    environment.put("MODE", "quiet");
    environment.put("TARGET", "${subnode} ${pid}");
    environment.put("DEBUG", null);
    DaemonRule rule =
        new DaemonRule(
            "d",
            List.of("/bin/d"),
            true,
            "/tmp/${pid}",
            "/var/log/${subnode}.out",
            null,
            environment);

    DaemonCommand command = rule.command("5", "shop");

    assertThat(command.directory()).isEqualTo("/tmp/5");
    assertThat(command.stdout()).isEqualTo("/var/log/shop.out");
    assertThat(command.stderr()).isNull();
    environment.put("TARGET", "shop 5");
    assertThat(command.environment()).isEqualTo(environment);
  }

  private static DaemonRule rule(String name, boolean perTarget, String... words) {
    return new DaemonRule(name, List.of(words), perTarget, null, null, null, Map.of());
  }

  private static TargetStatus target(TargetKind kind, String name, long pid) {
    return new TargetStatus(
        name, kind, name, pid, "", TargetState.UP, 0, "", 0, 0, 0, List.of());
  }
}
