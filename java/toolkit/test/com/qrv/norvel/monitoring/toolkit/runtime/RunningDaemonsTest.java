package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.workbench.osutils.DaemonWBProcess;
import java.util.HashMap;
import org.junit.jupiter.api.Test;

class RunningDaemonsTest {
  private final FakeNatives natives = new FakeNatives();
  private final HashMap<String, String> inherited = new HashMap<>();
  private final RunningDaemons daemons = new RunningDaemons(natives, inherited);

  @Test
  void handsTheCommandToTheNativeSide() {
    daemons.start(
        DaemonCommand.of("/bin/sh")
            .arg("-x")
            .arg("/opt/job.sh")
            .setEnv("LANG", "C")
            .unsetEnv("SECRET")
            .directory("/var/tmp")
            .stdout("/var/log/out")
            .build());

    HashMap<String, String> changes = new HashMap<>();
    changes.put("LANG", "C");
    changes.put("SECRET", null);
    assertThat(natives.command).isEqualTo("/bin/sh -x /opt/job.sh");
    assertThat(natives.environment).isEqualTo(changes);
    assertThat(natives.environment.getClass()).isSameAs(HashMap.class);
    assertThat(natives.paths).containsExactly("/var/tmp", "/var/log/out", null);
  }

  @Test
  void takesAnEnvironmentOf1023EntriesAndNoMore() {
    for (int i = 0; i < 1022; i++) {
      inherited.put("V" + i, "");
    }
    daemons.start(DaemonCommand.of("/bin/sh").setEnv("NEW", "1").setEnv("V0", "2").build());
    assertThat(natives.command).isEqualTo("/bin/sh");

    assertThatIllegalArgumentException()
        .isThrownBy(
            () ->
                daemons.start(
                    DaemonCommand.of("/bin/sh").setEnv("NEW", "1").setEnv("ONE", "2").build()))
        .withMessageContaining("1024 variables");
    daemons.start(
        DaemonCommand.of("/bin/ls")
            .setEnv("NEW", "1")
            .setEnv("ONE", "2")
            .unsetEnv("V1")
            .build());
    assertThat(natives.command).isEqualTo("/bin/ls");
  }

  @Test
  void asksOnlyForNumbersThatCanBeProcesses() {
    assertThat(daemons.isRunning(FakeNatives.LIVING)).isTrue();
    assertThat(daemons.isRunning(1L + FakeNatives.LIVING)).isFalse();
    assertThat(daemons.isRunning(0)).isFalse();
    assertThat(daemons.isRunning(-1)).isFalse();
    assertThat(daemons.isRunning((1L << 32) + FakeNatives.LIVING)).isFalse();
  }

  @Test
  void saysThatTheNativeSideIsAbsent() {
    RunningDaemons alone = new RunningDaemons(new DaemonWBProcess(), inherited);

    assertThatIllegalStateException()
        .isThrownBy(() -> alone.start(DaemonCommand.of("/bin/sh").build()));
    assertThatIllegalStateException().isThrownBy(() -> alone.isRunning(1));
  }
}
