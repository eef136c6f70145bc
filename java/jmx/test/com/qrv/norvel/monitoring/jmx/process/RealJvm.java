package com.qrv.norvel.monitoring.jmx.process;

import com.qrv.norvel.monitoring.jmx.Await;
import java.nio.file.Path;

/** The view that the agent has of a JVM which really runs. */
public final class RealJvm {
  public static final ProcFs PROC = new ProcFs(Path.of("/proc"));

  private RealJvm() {}

  public static JvmAccess access() {
    return new JvmAccess(PROC, ProcessHandle.current().pid());
  }

  /** Returns when the process is seen to be a JVM. */
  public static JvmProcess examine(long pid) throws Exception {
    JvmProcess[] found = new JvmProcess[1];
    Await.until(
        "process " + pid + " is seen to be a JVM",
        () -> {
          found[0] = access().examine(pid, PROC.stat(pid), PROC.status(pid));
          return found[0] != null;
        });
    return found[0];
  }
}
