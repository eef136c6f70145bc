package com.qrv.norvel.monitoring.jmx;

import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** A JVM of its own to monitor; it ends with its standard input, so none survives the tests. */
public final class ChildJvm implements AutoCloseable {
  private final Process process;

  private ChildJvm(Process process) {
    this.process = process;
  }

  /** Starts a JVM, and returns when its main method runs. */
  public static ChildJvm start(String... options) throws IOException {
    List<String> command = new ArrayList<>();
    command.add(System.getProperty("java.home") + "/bin/java");
    command.addAll(Arrays.asList("-Xmx32m", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1"));
    command.addAll(Arrays.asList(options));
    command.addAll(
        Arrays.asList("-cp", System.getProperty("java.class.path"), Main.class.getName()));
    Process process =
        new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
    if (process.getInputStream().read() != '!') {
      process.destroyForcibly();
      throw new IOException("the child JVM did not start");
    }
    return new ChildJvm(process);
  }

  public long pid() {
    return process.pid();
  }

  /** The subnode's name for it. */
  public String name() {
    return "ChildJvm_Main:" + pid();
  }

  public boolean isAlive() {
    return process.isAlive();
  }

  /** Whether every thread of it stands still; a signal takes a while on a busy machine. */
  boolean isStopped() throws IOException {
    File[] threads = new File("/proc/" + pid() + "/task").listFiles();
    for (File thread : threads) {
      String stat = Files.readString(thread.toPath().resolve("stat"));
      if (stat.charAt(stat.lastIndexOf(')') + 2) != 'T') {
        return false;
      }
    }
    return true;
  }

  public void signal(String name) throws IOException, InterruptedException {
    Process kill = new ProcessBuilder("/bin/kill", "-" + name, Long.toString(pid())).start();
    if (kill.waitFor() != 0) {
      throw new IOException("kill failed");
    }
  }

  /** Ends it at once, even when it is stopped. */
  public void kill() {
    process.destroyForcibly();
  }

  /** Ends it and waits until it is gone, so that the next test does not find it dying. */
  @Override
  public void close() {
    kill();
    process.onExit().join();
  }

  /** What the child runs. */
  public static final class Main {
    private Main() {}

    public static void main(String[] arguments) throws IOException {
      System.out.print('!');
      System.out.flush();
      while (System.in.read() >= 0) {
        // Until the parent ends.
      }
    }
  }
}
