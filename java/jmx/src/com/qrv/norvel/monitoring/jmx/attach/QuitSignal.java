package com.qrv.norvel.monitoring.jmx.attach;

import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import java.io.File;
import java.io.IOException;
import java.util.List;
import java.util.concurrent.TimeUnit;

/**
 * Sends QUIT to a JVM, which makes it look whether somebody wants to attach.
 *
 * <p>Java has no call for it, so a shell does it. It compares the process's start time right before
 * the signal, because the pid may have become that of a process which ends by it.
 */
final class QuitSignal {
  private static final long LIMIT_SECONDS = 5;

  // The fields of "stat" are counted behind the command's name, which may hold anything.
  private static final String SCRIPT =
      "read -r stat <\"/proc/$1/stat\" || exit 1\n"
          + "pid=$1 start=$2\n"
          + "set -f -- ${stat##*)}\n"
          + "[ \"${20}\" = \"$start\" ] && kill -s QUIT \"$pid\"\n";

  private QuitSignal() {}

  /** @throws IOException when the process is gone, or may not be signalled */
  static void send(JvmProcess jvm) throws IOException, InterruptedException {
    Process shell =
        new ProcessBuilder(
                List.of(
                    "/bin/sh", "-c", SCRIPT, "sh",
                    Long.toString(jvm.pid()), Long.toString(jvm.startTicks())))
            .redirectInput(ProcessBuilder.Redirect.from(new File("/dev/null")))
            .redirectOutput(ProcessBuilder.Redirect.DISCARD)
            .redirectError(ProcessBuilder.Redirect.DISCARD)
            .start();
    try {
      if (!shell.waitFor(LIMIT_SECONDS, TimeUnit.SECONDS) || shell.exitValue() != 0) {
        throw new IOException("process " + jvm.pid() + " could not be signalled");
      }
    } finally {
      shell.destroyForcibly();
    }
  }
}
