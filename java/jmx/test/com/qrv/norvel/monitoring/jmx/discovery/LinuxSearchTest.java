package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.ChildJvm;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.process.FakeProc;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.PerfImage;
import com.qrv.norvel.monitoring.jmx.process.ProcFs;
import java.io.IOException;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class LinuxSearchTest {
  private static final String QUIT_CAUGHT = "2000000181005ccf";
  private static final String QUIT_NOT_CAUGHT = "2000000181001cc8";

  @TempDir private Path root;

  private final RecordingLog log = new RecordingLog();
  private int uid;
  private FakeProc proc;
  private LinuxSearch search;

  @BeforeEach
  void begin() throws IOException {
    uid = FakeProc.testUid();
    proc = new FakeProc(root, uid);
    search = newSearch();
  }

  private LinuxSearch newSearch() {
    return new LinuxSearch(proc.procFs(), proc.access(), FakeProc.OWN_PID, log);
  }

  @Test
  void findsAJvmWithWhatItPublishes() throws Exception {
    proc.jvm(17, uid, "com.shop.Main x");
    proc.process(18, uid);

    assertThat(search.search())
        .containsExactly(
            new LocalJvm(
                new JvmProcess(17, 4217, uid, 17, "hsperfdata_ann"), "com.shop.Main x", false));
  }

  @Test
  void findsAJvmInAContainerByItsOwnPid() throws Exception {
    proc.jvm(17, uid, "elsewhere");
    proc.status(17, uid, "17\t3", QUIT_CAUGHT);
    proc.map(17, "hsperfdata_ann", "3");
    proc.publish(17, "3", PerfImage.ofJvm("com.shop.Main").bytes());

    LocalJvm found = search.search().get(0);

    assertThat(found.command()).isEqualTo("com.shop.Main");
    assertThat(found.process().innerPid()).isEqualTo(3);
  }

  @ParameterizedTest
  @CsvSource({
    "S, 2000000181005ccf, net:[1], 9, true",
    "R, 2000000181005ccf, net:[1], 9, true",
    "T, 2000000181005ccf, net:[1], 9, true",
    "Z, 2000000181005ccf, net:[1], 9, false",
    "S, 2000000181001cc8, net:[1], 9, false",
    "S, '', net:[1], 9, false",
    "S, 2000000181005ccf, net:[2], 9, false",
    "S, 2000000181005ccf, net:[1], 1, false",
  })
  void tellsWhoMayBeMonitored(
      char state, String caught, String network, int threads, boolean found) throws Exception {
    proc.jvm(17, uid, "com.shop.Main");
    proc.status(17, uid, "17", caught);
    proc.stat(17, state, threads, 4217);
    proc.namespace(17, "net", network);

    List<LocalJvm> jvms = search.search();

    assertThat(jvms).hasSize(found ? 1 : 0);
    assertThat(jvms).allMatch(jvm -> jvm.isStopped() == (state == 'T'));
  }

  @Test
  void anAgentThatIsNotRootLeavesOtherUsersAlone() throws Exception {
    proc.process(FakeProc.OWN_PID, uid + 1);
    proc.jvm(17, uid, "com.shop.Main");

    assertThat(newSearch().search()).isEmpty();
  }

  @Test
  void whatBelongsToAnotherUserThanTheProcessIsNotBelieved() throws Exception {
    proc.process(FakeProc.OWN_PID, 0);
    proc.jvm(17, uid + 1, "com.shop.Main");

    assertThat(newSearch().search()).isEmpty();
    assertThat(log.infos()).hasSize(1);
    assertThat(log.infos().get(0))
        .contains("process 17 of user " + (uid + 1), "belongs to user " + uid);
  }

  @ParameterizedTest
  @CsvSource({
    "fifo, is no regular file",
    "link, is no regular file",
    "directory, is no regular file",
    "second name, has a second name",
    "empty, has 0 bytes",
    "large, has 1048577 bytes",
    "open directory, can be written to by others",
    "linked directory, is no directory",
    "garbage, does not begin as the data of a JVM does",
    "lie, damaged",
    "nothing, hsperfdata_ann",
  })
  void oneOddThingIsToldOfAndHidesNoOther(String odd, String complaint) throws Exception {
    proc.jvm(16, uid, "com.shop.First");
    proc.jvm(17, uid, "com.shop.Odd");
    proc.jvm(18, uid, "com.shop.Last");
    spoil(odd);

    assertThat(search.search()).extracting(LocalJvm::pid).containsExactlyInAnyOrder(16L, 18L);

    assertThat(log.infos()).hasSize(1);
    assertThat(log.infos().get(0)).contains("process 17", complaint);
  }

  private void spoil(String odd) throws Exception {
    Path directory = proc.temp(17).resolve("hsperfdata_ann");
    Path file = directory.resolve("17");
    byte[] content = Files.readAllBytes(file);
    switch (odd) {
      case "fifo":
        Files.delete(file);
        assertThat(new ProcessBuilder("mkfifo", file.toString()).start().waitFor()).isZero();
        break;
      case "link":
        Files.move(file, directory.resolve("real"));
        Files.createSymbolicLink(file, Path.of("real"));
        break;
      case "directory":
        Files.delete(file);
        Files.createDirectory(file);
        break;
      case "second name":
        Files.createLink(directory.resolve("other"), file);
        break;
      case "empty":
        Files.write(file, new byte[0]);
        break;
      case "large":
        Files.write(file, new byte[(1 << 20) + 1]);
        break;
      case "open directory":
        Files.setPosixFilePermissions(directory, PosixFilePermissions.fromString("rwxrwxrwx"));
        break;
      case "linked directory":
        Files.move(directory, proc.temp(17).resolve("real"));
        Files.createSymbolicLink(directory, Path.of("real"));
        break;
      case "garbage":
        Files.write(file, new byte[1000]);
        break;
      case "lie":
        content[11] = 0x7f; // 2 GB in use
        Files.write(file, content);
        break;
      default:
        Files.delete(file);
    }
  }

  @Test
  void whatOthersPutIntoASharedDirectoryIsNotLookedAt() throws Exception {
    Path shared = Files.createDirectories(root.resolve("tmp"));
    Files.createDirectory(shared.resolve("hsperfdata_x"));
    Files.createFile(shared.resolve("hsperfdata_x").resolve("99999999999"));
    Files.createFile(shared.resolve("hsperfdata_y")); // no directory
    Files.createDirectory(root.resolve("99999999999"));
    proc.jvm(17, uid, "com.shop.Main");
    Files.delete(proc.temp(17).resolve("hsperfdata_ann").resolve("17"));
    Files.delete(proc.temp(17).resolve("hsperfdata_ann"));
    Files.delete(proc.temp(17));
    Files.createSymbolicLink(proc.temp(17), shared);
    proc.publish(17, "17", PerfImage.ofJvm("com.shop.Main").bytes());

    assertThat(search.search()).extracting(LocalJvm::pid).containsExactly(17L);
  }

  @Test
  void aProcessThatHasThePidOfAnEarlierJvmIsAnother() throws Exception {
    proc.jvm(17, uid, "com.shop.Main");
    assertThat(search.search()).hasSize(1);

    proc.process(17, uid);
    proc.stat(17, 'S', 9, 9999);

    assertThat(search.search()).isEmpty();
  }

  @Test
  void aJvmWhoseLibraryWasUpdatedUnderItIsStillOne() throws Exception {
    proc.jvm(17, uid, "com.shop.Main");
    String maps = Files.readString(proc.file(17, "maps"));
    Files.writeString(proc.file(17, "maps"), maps.replace("libjvm.so", "libjvm.so (deleted)"));

    assertThat(search.search()).hasSize(1);
  }

  @Test
  void aJvmThatHasOnlyBegunIsFoundWhenItIsReady() throws Exception {
    proc.jvm(17, uid, "com.shop.Main");
    byte[] ready = PerfImage.ofJvm("com.shop.Main").bytes();
    byte[] begun = ready.clone();
    begun[7] = 0;
    proc.publish(17, "17", begun);
    assertThat(search.search()).isEmpty();
    proc.publish(17, "17", new PerfImage(ByteOrder.LITTLE_ENDIAN).bytes());
    assertThat(search.search()).isEmpty();

    proc.publish(17, "17", ready);

    assertThat(searchesUntilFound()).isEqualTo(2);
  }

  @Test
  void aJvmThatDoesNotAllowToBeAttachedToIsLeftAlone() throws Exception {
    proc.jvm(17, uid, "com.shop.Main");
    proc.publish(
        17, "17",
        PerfImage.ofJvm("com.shop.Main")
            .text("sun.rt.jvmCapabilities", "0100")
            .bytes());

    assertThat(search.search()).isEmpty();
  }

  @Test
  void aJvmThatPublishesNoCommandIsFoundAllTheSame() throws Exception {
    proc.jvm(17, uid, "");
    proc.publish(
        17, "17",
        new PerfImage(ByteOrder.LITTLE_ENDIAN).text("sun.rt.jvmCapabilities", "11").bytes());

    assertThat(search.search()).extracting(LocalJvm::command).containsExactly("");
  }

  @Test
  void aCommandWithoutEndIsCutOff() throws Exception {
    proc.jvm(17, uid, "com.shop.Main" + "x".repeat(20_000));

    assertThat(search.search().get(0).command()).hasSize(4096).startsWith("com.shop.Mainx");
  }

  @Test
  void aProcessThatBecomesAJvmIsFoundAfterEightSearchesAtMost() throws Exception {
    proc.process(17, uid);
    for (int i = 0; i < 30; i++) {
      assertThat(search.search()).isEmpty();
    }

    proc.jvm(17, uid, "com.shop.Main");

    assertThat(searchesUntilFound()).isBetween(1, 8);
  }

  @Test
  void ofEachUserOneComplaintIsToldAndOfAHundredUsers() throws Exception {
    proc.process(FakeProc.OWN_PID, 0);
    search = newSearch();
    for (int pid = 1000; pid < 1300; pid++) {
      proc.jvm(pid, uid + 1 + pid % 150, "com.shop.Main");
    }

    assertThat(search.search()).isEmpty();

    assertThat(log.infos()).hasSize(100);
  }

  @Test
  void aRealJvmIsFoundButNotThisOne() throws Exception {
    ProcFs real = new ProcFs(Path.of("/proc"));
    long self = ProcessHandle.current().pid();
    LinuxSearch machine = new LinuxSearch(real, new JvmAccess(real, self), self, log);
    try (ChildJvm child = ChildJvm.start()) {
      List<LocalJvm> found = machine.search();

      assertThat(found).extracting(LocalJvm::pid).contains(child.pid()).doesNotContain(self);
      assertThat(found)
          .filteredOn(jvm -> jvm.pid() == child.pid())
          .extracting(LocalJvm::command)
          .containsExactly("com.qrv.norvel.monitoring.jmx.ChildJvm$Main");
    }
  }

  private int searchesUntilFound() throws Exception {
    for (int i = 1; i <= 100; i++) {
      if (!search.search().isEmpty()) {
        return i;
      }
    }
    return -1;
  }
}
