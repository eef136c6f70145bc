package com.qrv.norvel.monitoring.jmx.process;

import java.io.IOException;
import java.nio.file.Path;

/**
 * Which JVMs of this machine the agent may approach, and what they publish. Thread-safe.
 *
 * <p>These are the JVMs of the agent's own user, or of every user when it runs as root; in the
 * agent's own network, because it couldn't reach the ports of others; and with a handler for QUIT,
 * because attaching would end the others. Each file that a JVM made is opened through
 * {@code /proc/PID/root}, which is the JVM's own view also when it is in a container.
 */
public final class JvmAccess {
  private final ProcFs proc;
  private final int ownUid;
  private final String ownNetwork; // null when it is hidden

  /** @throws IllegalStateException when the agent's own process can't be seen */
  public JvmAccess(ProcFs proc, long ownPid) {
    this.proc = proc;
    ProcessStatus own = proc.status(ownPid);
    if (own == null) {
      throw new IllegalStateException("/proc does not show this process; is it mounted?");
    }
    this.ownUid = own.uid();
    this.ownNetwork = proc.namespace(ownPid, "net");
  }

  /** Whether a process of that status may be attached to if it is a JVM. Never waits. */
  public boolean isInReach(long pid, ProcessStatus status) {
    if (!status.catchesQuit() || (ownUid != 0 && status.uid() != ownUid)) {
      return false;
    }
    String network = proc.namespace(pid, "net");
    return ownNetwork == null || network == null || ownNetwork.equals(network);
  }

  /**
   * Looks whether a process runs a JVM. May hang, if its user wants that.
   *
   * @return null when it does not, or does not publish itself
   * @throws IOException when its memory map can't be read
   */
  public JvmProcess examine(long pid, ProcessStat stat, ProcessStatus status) throws IOException {
    String directory = JvmMap.perfDirectory(proc.file(pid, "maps"), status.innerPid());
    return directory == null
        ? null
        : new JvmProcess(pid, stat.startTicks(), status.uid(), status.innerPid(), directory);
  }

  /**
   * Whether it is safe to attach to the process now: it is still the same, of the same user, does
   * not stand still and would not end by the signal.
   */
  public boolean isAttachable(JvmProcess jvm) {
    ProcessStatus status = proc.status(jvm.pid());
    ProcessStat stat = proc.stat(jvm.pid());
    return status != null
        && stat != null
        && stat.startTicks() == jvm.startTicks()
        && !stat.isDead()
        && !stat.isStopped()
        && status.uid() == jvm.uid()
        && isInReach(jvm.pid(), status);
  }

  /**
   * What the JVM publishes now. May hang, if its user wants that.
   *
   * @return null when it has only begun to
   * @throws IOException when the file is not the JVM's, or damaged
   */
  public PerfData published(JvmProcess jvm) throws IOException {
    Path directory = temp(jvm).resolve(jvm.perfDirectory());
    return PerfData.parse(PerfFile.read(directory, Long.toString(jvm.innerPid()), jvm.uid()));
  }

  /** The directory that the JVM knows as {@code /tmp}. */
  public Path temp(JvmProcess jvm) {
    return proc.temp(jvm.pid());
  }

  /** The directory that the JVM works in. */
  public Path workingDirectory(JvmProcess jvm) {
    return proc.file(jvm.pid(), "cwd");
  }
}
