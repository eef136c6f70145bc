package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class LinuxProcessesTest {
  private static final long OWN_PID = 1;
  private static final String QUIT_CAUGHT = "2000000181005ccf";
  private static final String QUIT_NOT_CAUGHT = "2000000181001cc8";

  @TempDir private Path root;

  @BeforeEach
  void ownProcess() throws IOException {
    process(OWN_PID, "S", 1000, QUIT_CAUGHT, "net:[1]");
  }

  @Test
  void listsThePublishedJvmsButNotThisOne() throws IOException {
    publish("hsperfdata_ann", "17");
    publish("hsperfdata_bob", "18");
    publish("hsperfdata_bob", "notes.txt");
    publish("hsperfdata_ann", Long.toString(OWN_PID));
    publish("elsewhere", "19");

    assertThat(processes().pids()).containsExactlyInAnyOrder(17L, 18L);
  }

  @ParameterizedTest
  @CsvSource({
    "S, 1000, 2000000181005ccf, net:[1], true",
    "R, 1000, 2000000181005ccf, net:[1], true",
    "T, 1000, 2000000181005ccf, net:[1], false",
    "t, 1000, 2000000181005ccf, net:[1], false",
    "S, 1000, 2000000181001cc8, net:[1], false",
    "S, 1000, '', net:[1], false",
    "S, 1001, 2000000181005ccf, net:[1], false",
    "S, 1000, 2000000181005ccf, net:[2], false",
  })
  void tellsWhoMayBeAttachedTo(
      String state, int uid, String caught, String network, boolean attachable)
      throws IOException {
    process(17, state, uid, caught, network);

    assertThat(processes().look(17).isAttachable()).isEqualTo(attachable);
  }

  @Test
  void rootMayAttachToOthers() throws IOException {
    process(OWN_PID, "S", 0, QUIT_CAUGHT, "net:[1]");
    process(17, "S", 1000, QUIT_CAUGHT, "net:[1]");

    assertThat(processes().look(17).isAttachable()).isTrue();
  }

  @Test
  void aProcessThatHasThePidOfAKilledJvmIsLeftAlone() throws IOException {
    publish("hsperfdata_ann", "17");
    process(17, "S", 1000, QUIT_CAUGHT, "net:[1]");
    LinuxProcesses processes = processes();
    assertThat(processes.look(17).isAttachable()).isTrue();

    process(17, "S", 1000, QUIT_CAUGHT, "net:[1]");
    start(17, 9999);
    maps(17, "7f00-7f10 r-xp 00000000 08:01 42 /usr/lib/libc.so.6\n");

    assertThat(processes.pids()).containsExactly(17L);
    assertThat(processes.look(17).isAttachable()).isFalse();
    Files.delete(root.resolve("17").resolve("maps"));
    assertThat(processes.look(17).isAttachable()).isFalse();
  }

  @Test
  void aJvmWhoseLibraryWasUpdatedUnderItIsStillOne() throws IOException {
    process(17, "S", 1000, QUIT_CAUGHT, "net:[1]");
    maps(17, "7f00-7f10 r-xp 00000000 08:01 42 /usr/lib/jvm/lib/server/libjvm.so (deleted)\n");

    assertThat(processes().look(17).isAttachable()).isTrue();
  }

  @Test
  void aProcessThatHasEndedIsNotThere() throws IOException {
    process(17, "Z", 1000, QUIT_NOT_CAUGHT, "net:[1]");

    assertThat(processes().look(17)).isNull();
    assertThat(processes().look(18)).isNull();
  }

  @Test
  void theStartTimeIsFoundBehindAnyCommandName() throws IOException {
    process(17, "S", 1000, QUIT_CAUGHT, "net:[1]");

    assertThat(processes().look(17).startTicks()).isEqualTo(4217);
  }

  @Test
  void thisRealProcessIsSeenAsItIs() {
    LinuxProcesses real = new LinuxProcesses();
    LocalProcess me = real.look(ProcessHandle.current().pid());

    assertThat(me.catchesQuit()).isTrue();
    assertThat(me.isStopped()).isFalse();
    assertThat(me.isOurs()).isTrue();
    assertThat(me.startTicks()).isPositive();
    assertThat(real.pids()).doesNotContain(me.pid());
  }

  private LinuxProcesses processes() {
    return new LinuxProcesses(root, root, OWN_PID);
  }

  private void publish(String directory, String file) throws IOException {
    Files.createDirectories(root.resolve(directory));
    Files.createFile(root.resolve(directory).resolve(file));
  }

  private void process(long pid, String state, int uid, String caught, String network)
      throws IOException {
    Path directory = Files.createDirectories(root.resolve(Long.toString(pid)));
    Files.writeString(
        directory.resolve("status"),
        "Name:\tjava\nState:\t" + state + " (some)\nUid:\t1\t" + uid + "\t1\t1\nSigCgt:\t" + caught
            + "\n");
    start(pid, 4200 + pid);
    maps(pid, "5500-5510 r-xp 00000000 08:01 41 /usr/lib/jvm/bin/java\n"
        + "7f00-7f10 r-xp 00000000 08:01 42 /usr/lib/jvm/lib/server/libjvm.so\n");
    Path link = Files.createDirectories(directory.resolve("ns")).resolve("net");
    Files.deleteIfExists(link);
    Files.createSymbolicLink(link, Path.of(network));
  }

  private void start(long pid, long ticks) throws IOException {
    StringBuilder stat = new StringBuilder(pid + " (a ) b) S");
    for (int field = 4; field <= 24; field++) {
      stat.append(' ').append(field == 22 ? ticks : field);
    }
    Files.writeString(root.resolve(Long.toString(pid)).resolve("stat"), stat.toString());
  }

  private void maps(long pid, String text) throws IOException {
    Files.writeString(root.resolve(Long.toString(pid)).resolve("maps"), text);
  }
}
