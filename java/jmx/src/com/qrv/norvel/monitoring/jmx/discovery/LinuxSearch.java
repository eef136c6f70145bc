package com.qrv.norvel.monitoring.jmx.discovery;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.PerfData;
import com.qrv.norvel.monitoring.jmx.process.ProcFs;
import com.qrv.norvel.monitoring.jmx.process.ProcessStat;
import com.qrv.norvel.monitoring.jmx.process.ProcessStatus;
import java.io.IOException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;

/**
 * Walks through the processes in {@code /proc}, those of containers too. A JVM that was told not to
 * publish itself ({@code -XX:-UsePerfData}) is not found.
 *
 * <p>No directory is listed that others may fill, and each process is looked at by itself, in a
 * bounded time: whatever one of them does, the others are found. A process that is no JVM may still
 * become one, so it is looked at again, but ever more seldom: at the next search, then after one
 * search, three, and at last seven that leave it out.
 */
public final class LinuxSearch implements JvmSearch {
  /** A look takes milliseconds. A second is for a machine that is busy. */
  private static final long LOOK_MILLIS = 1000;

  private static final int MAX_REST = 7;

  /** Longer commands are cut off; the main class stands in front. */
  private static final int MAX_COMMAND = 4096;

  /** So many users are complained of, once each. */
  private static final int MAX_COMPLAINTS = 100;

  private final ProcFs proc;
  private final JvmAccess access;
  private final long ownPid;
  private final OperatorLog log;
  private final Examiner examiner = new Examiner(LOOK_MILLIS);
  private final Map<Long, Seen> seen = new HashMap<>(); // by pid
  private final Set<Integer> complaints = new HashSet<>(); // by user

  public LinuxSearch(ProcFs proc, JvmAccess access, long ownPid, OperatorLog log) {
    this.proc = proc;
    this.access = access;
    this.ownPid = ownPid;
    this.log = log;
  }

  @Override
  public List<LocalJvm> search() throws InterruptedException {
    List<LocalJvm> found = new ArrayList<>();
    Set<Long> present = new HashSet<>();
    for (long pid : proc.pids()) {
      LocalJvm jvm = pid == ownPid ? null : look(pid);
      if (jvm != null) {
        found.add(jvm);
      }
      present.add(pid);
    }
    seen.keySet().retainAll(present);
    return found;
  }

  private LocalJvm look(long pid) throws InterruptedException {
    Seen known = seen.get(pid);
    if (known != null && known.rests()) {
      return null;
    }
    ProcessStat stat = proc.stat(pid);
    if (stat == null || stat.isDead()) {
      seen.remove(pid);
      return null;
    }
    if (known == null || known.startTicks != stat.startTicks()) {
      known = new Seen(stat.startTicks());
      seen.put(pid, known);
    }
    if (known.jvm == null) {
      examine(pid, stat, known);
    }
    return known.jvm == null ? null : new LocalJvm(known.jvm, known.command, stat.isStopped());
  }

  private void examine(long pid, ProcessStat stat, Seen known) throws InterruptedException {
    // A JVM has several threads as soon as it is one.
    ProcessStatus status = stat.threads() > 1 ? proc.status(pid) : null;
    if (status == null || !access.isInReach(pid, status)) {
      known.rest();
      return;
    }
    String owner = owner(pid, status);
    if (examiner.isClosedTo(owner)) {
      return;
    }
    try {
      JvmProcess jvm = examiner.look(owner, () -> access.examine(pid, stat, status));
      PerfData data = jvm == null ? null : examiner.look(owner, () -> access.published(jvm));
      known.note(jvm, data);
    } catch (IOException e) {
      known.rest();
      complain(pid, status.uid(), e);
    }
  }

  /** Who may have made what a process lets us see: its user; for root, the container. */
  private String owner(long pid, ProcessStatus status) {
    return status.uid() == 0 ? proc.namespace(pid, "mnt") : Integer.toString(status.uid());
  }

  private void complain(long pid, int uid, IOException e) {
    // Of most processes it is only said that they have gone meanwhile.
    if (proc.stat(pid) != null && complaints.size() < MAX_COMPLAINTS && complaints.add(uid)) {
      log.info(
          "process " + pid + " of user " + uid + " is not examined: " + e.getMessage()
              + "; no more is said of this user's processes");
    }
  }

  /** A process that an earlier search saw. */
  private static final class Seen {
    private final long startTicks;
    private JvmProcess jvm; // null while it is not known to be one
    private String command;
    private int rest; // searches to be left out after the next fruitless look
    private int resting; // searches still to be left out

    Seen(long startTicks) {
      this.startTicks = startTicks;
    }

    boolean rests() {
      if (resting == 0) {
        return false;
      }
      resting--;
      return true;
    }

    void rest() {
      resting = rest;
      rest = Math.min(MAX_REST, 2 * rest + 1);
    }

    void note(JvmProcess process, PerfData data) {
      String capabilities = data == null ? null : data.text(PerfData.CAPABILITIES);
      if (capabilities == null || !capabilities.startsWith("1")) {
        // It is none, or has only begun, or does not want to be attached to.
        rest();
        return;
      }
      String text = data.text(PerfData.COMMAND);
      command = text == null ? "" : text.substring(0, Math.min(text.length(), MAX_COMMAND));
      jvm = process;
    }
  }
}
