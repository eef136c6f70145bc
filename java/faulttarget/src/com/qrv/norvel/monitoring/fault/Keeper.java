package com.qrv.norvel.monitoring.fault;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStream;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.io.PrintStream;
import java.lang.management.ManagementFactory;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Runs the target in a process of its own and starts it again, on the same port, whenever it ends
 * otherwise than by {@code quit}. Passes its input and output on.
 */
final class Keeper {
  /** Set in the process that is kept. */
  static final String KEPT = "zel.fault.kept";

  private static final Pattern READY = Pattern.compile("ready port=(\\d+) pid=\\d+");
  private static final long PAUSE_AFTER_FAILURE_MILLIS = 1000;

  private final Options options;
  private final List<String> arguments;
  private final PrintStream out;
  private Process child; // guarded by this
  private int port; // of the first child, or NO_PORT
  private boolean everReady;

  Keeper(Options options, List<String> arguments, PrintStream out) {
    this.options = options;
    this.arguments = arguments;
    this.out = out;
    this.port = options.port();
  }

  /** Keeps the target alive until it is told to quit; gives its exit status. */
  int run(InputStream in) throws IOException, InterruptedException {
    Runtime.getRuntime().addShutdownHook(new Thread(this::endChild));
    Thread relay = new Thread(() -> relay(in), "fault-input");
    relay.setDaemon(true);
    Process process = start();
    relay.start();
    while (true) {
      boolean ready = follow(process);
      int status = process.waitFor();
      if (status == 0 || !everReady) {
        return status;
      }
      if (!ready) {
        // Something may stand in the way for a while, such as the port.
        Thread.sleep(PAUSE_AFTER_FAILURE_MILLIS);
      }
      process = start();
    }
  }

  /** Prints what the process prints until it ends; tells whether it was ready. */
  private boolean follow(Process process) throws IOException {
    boolean ready = false;
    try (BufferedReader reader =
        new BufferedReader(
            new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
      for (String line = reader.readLine(); line != null; line = reader.readLine()) {
        Matcher matcher = READY.matcher(line);
        if (matcher.matches()) {
          port = Integer.parseInt(matcher.group(1));
        }
        ready |= line.startsWith("ready ");
        everReady |= ready;
        out.println(line);
        out.flush();
      }
    }
    return ready;
  }

  private synchronized Process start() throws IOException {
    List<String> command = new ArrayList<>();
    command.add(System.getProperty("java.home") + "/bin/java");
    command.addAll(ManagementFactory.getRuntimeMXBean().getInputArguments());
    command.add("-D" + KEPT + "=true");
    command.add("-cp");
    command.add(System.getProperty("java.class.path"));
    command.add(FaultTarget.class.getName());
    command.addAll(arguments);
    if (options.port() != Options.NO_PORT) {
      command.add("--port=" + port); // the last one counts
    }
    child = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
    return child;
  }

  private synchronized void endChild() {
    if (child != null) {
      child.destroyForcibly();
    }
  }

  private synchronized Process current() {
    return child;
  }

  private void relay(InputStream in) {
    try (BufferedReader reader =
        new BufferedReader(new InputStreamReader(in, StandardCharsets.UTF_8))) {
      for (String line = reader.readLine(); line != null; line = reader.readLine()) {
        send(line);
      }
    } catch (IOException e) {
      // Without input there are no more commands; the target lives on.
      out.println("error: standard input failed: " + e);
    }
  }

  private void send(String line) {
    try {
      OutputStream input = current().getOutputStream();
      input.write((line + '\n').getBytes(StandardCharsets.UTF_8));
      input.flush();
    } catch (IOException e) {
      out.println("error: '" + line + "' was lost, because the target is restarting");
    }
  }
}
