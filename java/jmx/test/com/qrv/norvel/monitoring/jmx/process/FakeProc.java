package com.qrv.norvel.monitoring.jmx.process;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;

/** A tree like {@code /proc}, whose files belong to the user who runs the tests. */
public final class FakeProc {
  public static final long OWN_PID = 1;

  private static final String QUIT_CAUGHT = "2000000181005ccf";
  private static final String LIBRARY =
      "7f00-7f10 r-xp 00000000 08:01 42                     /usr/lib/jvm/lib/server/libjvm.so\n";

  private final Path root;

  /** @param ownUid the user of the agent's process */
  public FakeProc(Path root, int ownUid) throws IOException {
    this.root = root;
    process(OWN_PID, ownUid);
  }

  /** The user who runs the tests. */
  public static int testUid() throws IOException {
    return (Integer) Files.getAttribute(Path.of("/proc/self"), "unix:uid");
  }

  public ProcFs procFs() {
    return new ProcFs(root);
  }

  public JvmAccess access() {
    return new JvmAccess(procFs(), OWN_PID);
  }

  public Path file(long pid, String name) {
    return root.resolve(Long.toString(pid)).resolve(name);
  }

  public Path temp(long pid) {
    return file(pid, "root").resolve("tmp");
  }

  /** A process with several threads that catches QUIT and is no JVM. */
  public void process(long pid, int uid) throws IOException {
    Files.createDirectories(temp(pid));
    Files.createDirectories(file(pid, "cwd"));
    Files.createDirectories(file(pid, "fd"));
    Files.createDirectories(file(pid, "net"));
    Files.createDirectories(file(pid, "ns"));
    namespace(pid, "net", "net:[1]");
    namespace(pid, "mnt", "mnt:[1]");
    status(pid, uid, Long.toString(pid), QUIT_CAUGHT);
    stat(pid, 'S', 9, 4200 + pid);
    Files.writeString(
        file(pid, "maps"), "5500-5510 r-xp 00000000 08:01 41                 /usr/bin/thing\n");
  }

  /** A JVM that publishes itself, in a directory of the user who runs the tests. */
  public void jvm(long pid, int uid, String command) throws IOException {
    process(pid, uid);
    map(pid, "hsperfdata_ann", Long.toString(pid));
    publish(pid, Long.toString(pid), PerfImage.ofJvm(command).bytes());
  }

  /** Has the process's memory map show a JVM. */
  public void map(long pid, String directory, String name) throws IOException {
    Files.writeString(
        file(pid, "maps"),
        LIBRARY + "7f20-7f28 rw-s 00000000 08:01 43                     /tmp/" + directory + "/"
            + name + "\n");
  }

  public Path publish(long pid, String name, byte[] content) throws IOException {
    Path directory = Files.createDirectories(temp(pid).resolve("hsperfdata_ann"));
    Files.setPosixFilePermissions(directory, PosixFilePermissions.fromString("rwxr-xr-x"));
    return Files.write(directory.resolve(name), content);
  }

  public void status(long pid, int uid, String innerPids, String caught) throws IOException {
    Files.writeString(
        file(pid, "status"),
        "Name:\tjava\nUmask:\t0022\nUid:\t1\t" + uid + "\t1\t1\nGroups:\t1 2\nNSpid:\t" + innerPids
            + "\nSigCgt:\t" + caught + "\n");
  }

  public void stat(long pid, char state, int threads, long startTicks) throws IOException {
    StringBuilder stat = new StringBuilder(pid + " (a ) b) " + state);
    for (int field = 4; field <= 52; field++) {
      stat.append(' ').append(field == 22 ? startTicks : field == 20 ? threads : field);
    }
    Files.writeString(file(pid, "stat"), stat.append('\n'));
  }

  public void namespace(long pid, String kind, String value) throws IOException {
    Path link = file(pid, "ns").resolve(kind);
    Files.deleteIfExists(link);
    Files.createSymbolicLink(link, Path.of(value));
  }
}
