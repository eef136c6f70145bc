package com.qrv.norvel.monitoring.jmx.discovery;

import com.sun.tools.attach.VirtualMachine;
import com.sun.tools.attach.VirtualMachineDescriptor;
import java.io.BufferedReader;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/**
 * Reads {@code /proc}, and the directories in which JVMs publish that they exist.
 *
 * <p>A JVM that was told not to publish ({@code -XX:-UsePerfData}) is not found.
 */
public final class LinuxProcesses implements ProcessTable {
  private static final long QUIT_BIT = 1L << (3 - 1);

  /** Every JVM maps it; behind the name may stand that it was deleted by an update. */
  private static final String JVM_LIBRARY = "/libjvm.so";

  private final Path proc;
  private final Path temp;
  private final long ownPid;
  private final long ownUid;
  private final Path ownNetwork; // null when it is hidden
  private final Map<Long, Long> jvms = new ConcurrentHashMap<>(); // start by pid; not all of them

  public LinuxProcesses() {
    this(Path.of("/proc"), Path.of("/tmp"), ProcessHandle.current().pid());
  }

  /**
   * @param proc the mount of procfs
   * @param temp where the directories {@code hsperfdata_USER} are
   */
  LinuxProcesses(Path proc, Path temp, long ownPid) {
    this.proc = proc;
    this.temp = temp;
    this.ownPid = ownPid;
    this.ownUid = parseUid(lines(proc.resolve(Long.toString(ownPid)).resolve("status")));
    this.ownNetwork = network(ownPid);
  }

  @Override
  public List<Long> pids() {
    List<Long> pids = new ArrayList<>();
    try (DirectoryStream<Path> users = Files.newDirectoryStream(temp, "hsperfdata_*")) {
      for (Path user : users) {
        addPids(user, pids);
      }
    } catch (IOException e) {
      // No directory, no JVMs.
      return pids;
    }
    jvms.keySet().retainAll(pids);
    return pids;
  }

  private void addPids(Path user, List<Long> pids) {
    try (DirectoryStream<Path> files = Files.newDirectoryStream(user, "[0-9]*")) {
      for (Path file : files) {
        long pid = parseLong(file.getFileName().toString());
        if (pid > 0 && pid != ownPid && !pids.contains(pid)) {
          pids.add(pid);
        }
      }
    } catch (IOException e) {
      // Another user's, which we may not read: those JVMs are not ours to attach to.
      return;
    }
  }

  @Override
  public LocalProcess look(long pid) {
    Path directory = proc.resolve(Long.toString(pid));
    List<String> status = lines(directory.resolve("status"));
    long startTicks = startTicks(lines(directory.resolve("stat")));
    if (status.isEmpty() || startTicks < 0) {
      return null;
    }
    long uid = parseUid(status);
    Path network = network(pid);
    boolean isNear = ownNetwork == null || network == null || ownNetwork.equals(network);
    boolean isOurs = isNear && (uid == ownUid || ownUid == 0);
    char state = field(status, "State:").isEmpty() ? '?' : field(status, "State:").charAt(0);
    if (state == 'Z' || state == 'X') {
      return null;
    }
    boolean isStopped = state == 'T' || state == 't';
    boolean takesQuit = isOurs && catchesQuit(status) && runsJvm(pid, startTicks);
    return new LocalProcess(pid, startTicks, takesQuit, isStopped, isOurs);
  }

  /**
   * Whether a process runs a JVM. What a JVM published stays when it is killed, and its pid goes to
   * any other process.
   */
  private boolean runsJvm(long pid, long startTicks) {
    Long known = jvms.get(pid);
    if (known != null && known == startTicks) {
      return true;
    }
    Path maps = proc.resolve(Long.toString(pid)).resolve("maps");
    try (BufferedReader lines = Files.newBufferedReader(maps, StandardCharsets.ISO_8859_1)) {
      String line = lines.readLine();
      while (line != null) {
        if (line.contains(JVM_LIBRARY)) {
          jvms.put(pid, startTicks);
          return true;
        }
        line = lines.readLine();
      }
    } catch (IOException e) {
      // Hidden from us, as are the files through which we would attach.
      return false;
    }
    return false;
  }

  @Override
  public Map<Long, String> commands() {
    Map<Long, String> commands = new HashMap<>();
    for (VirtualMachineDescriptor machine : VirtualMachine.list()) {
      String command = machine.displayName();
      commands.put(parseLong(machine.id()), command.equals("Unknown") ? "" : command);
    }
    return commands;
  }

  private static boolean catchesQuit(List<String> status) {
    try {
      return (Long.parseUnsignedLong(field(status, "SigCgt:"), 16) & QUIT_BIT) != 0;
    } catch (NumberFormatException e) {
      return false;
    }
  }

  private static long parseUid(List<String> status) {
    // Real, effective, saved, file system: the effective one decides.
    String[] uids = field(status, "Uid:").split("\\s+");
    return uids.length > 1 ? parseLong(uids[1]) : -1;
  }

  /** The rest of the line that begins with {@code key}, trimmed; empty without such a line. */
  private static String field(List<String> status, String key) {
    for (String line : status) {
      if (line.startsWith(key)) {
        return line.substring(key.length()).trim();
      }
    }
    return "";
  }

  /** Field 22 of the stat line, counted behind the command's name, which may hold anything. */
  private static long startTicks(List<String> stat) {
    if (stat.isEmpty()) {
      return -1;
    }
    String line = stat.get(0);
    String[] fields = line.substring(line.lastIndexOf(')') + 1).trim().split(" ");
    return fields.length > 19 ? parseLong(fields[19]) : -1;
  }

  /**
   * The identity of a process's network, or null when it is hidden from us. A JVM in another one
   * opens ports that we can't reach.
   */
  private Path network(long pid) {
    try {
      return Files.readSymbolicLink(proc.resolve(Long.toString(pid)).resolve("ns").resolve("net"));
    } catch (IOException e) {
      return null;
    }
  }

  private static List<String> lines(Path file) {
    try {
      return Files.readAllLines(file, StandardCharsets.ISO_8859_1);
    } catch (IOException e) {
      return new ArrayList<>();
    }
  }

  private static long parseLong(String text) {
    try {
      return Long.parseLong(text);
    } catch (NumberFormatException e) {
      return -1;
    }
  }
}
