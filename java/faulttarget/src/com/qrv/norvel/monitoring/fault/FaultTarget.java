package com.qrv.norvel.monitoring.fault;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.nio.charset.StandardCharsets;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import javax.management.JMException;
import javax.management.MBeanServer;

/** The program: a JVM that misbehaves as its arguments, its input and its control bean say. */
public final class FaultTarget {
  private static final int FAILED = 1;
  private static final int USAGE = 2;

  private static final FaultSettings SETTINGS = new FaultSettings();
  private static JmxPort jmxPort; // kept from the garbage collector

  private FaultTarget() {}

  /** Runs until it is killed or reads {@code quit}. */
  public static void main(String[] arguments) throws Exception {
    Options options;
    try {
      options = Options.parse(List.of(arguments));
    } catch (UsageException e) {
      System.err.println("zel-faulttarget: " + e.getMessage());
      System.exit(USAGE);
      return;
    }
    if (options.help()) {
      System.out.print(Options.usage());
      return;
    }
    boolean isKept = Boolean.getBoolean(Keeper.KEPT);
    if (options.value(Mode.RESTART) != Setting.OFF && !isKept) {
      System.exit(new Keeper(options, List.of(arguments), System.out).run(System.in));
    }
    try {
      String ready = start(options, isKept);
      System.out.println(ready);
    } catch (IOException e) {
      System.err.println(
          "zel-faulttarget: the JMX port " + options.port() + " can't be opened: " + e);
      System.exit(FAILED);
    }
    obey(isKept);
  }

  private static String start(Options options, boolean isKept) throws IOException, JMException {
    FaultyServerBuilder.install(SETTINGS);
    MBeanServer server = ManagementFactory.getPlatformMBeanServer();
    Notifier notifier = new Notifier();
    server.registerMBean(new Control(SETTINGS), Control.NAME);
    server.registerMBean(new Thrower(), Thrower.NAME);
    server.registerMBean(notifier, Notifier.NAME);
    SETTINGS.onChange(Mode.BEANS, new Fillers(server, "zel.fault:type=Bean,name=")::become);
    SETTINGS.onChange(Mode.POOLS, new Fillers(server, "java.nio:type=BufferPool,name=")::become);
    Workload.follow(SETTINGS, notifier);
    if (isKept) {
      Workload.followRestarts(SETTINGS);
    } else {
      SETTINGS.refuse(Mode.RESTART, "restart must be given when the program is started");
    }
    String port = "none";
    if (options.port() != Options.NO_PORT) {
      jmxPort =
          JmxPort.open(
              options.port(), new DroppingSockets(() -> SETTINGS.value(Mode.DROP)), server);
      port = Integer.toString(jmxPort.port());
    } else {
      SETTINGS.refuse(Mode.DROP, "drop needs a JMX port: start the program with --port");
    }
    for (Setting setting : options.settings()) {
      SETTINGS.apply(setting);
    }
    return "ready port=" + port + " pid=" + ProcessHandle.current().pid();
  }

  /** Carries out the lines of standard input; each is answered with one. */
  private static void obey(boolean isKept) throws IOException, InterruptedException {
    BufferedReader in =
        new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    for (String line = in.readLine(); line != null; line = in.readLine()) {
      if (line.strip().equals("quit")) {
        System.exit(0);
      }
      try {
        System.out.println("now " + SETTINGS.command(line));
      } catch (UsageException e) {
        System.out.println("error: " + e.getMessage());
      }
    }
    if (isKept) {
      // The keeper has been killed.
      System.exit(0);
    }
    new CountDownLatch(1).await();
  }
}
