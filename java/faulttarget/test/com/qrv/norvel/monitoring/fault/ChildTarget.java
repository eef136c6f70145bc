package com.qrv.norvel.monitoring.fault;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.management.JMX;
import javax.management.remote.JMXConnector;
import javax.management.remote.JMXConnectorFactory;
import javax.management.remote.JMXServiceURL;

/** The program in a process of its own, as users run it. */
final class ChildTarget implements AutoCloseable {
  private static final Pattern READY = Pattern.compile("ready port=(\\d+|none) pid=(\\d+)");

  private final Process process;
  private final BufferedReader out;
  private String port;
  private long pid;

  private ChildTarget(Process process) {
    this.process = process;
    this.out =
        new BufferedReader(
            new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
  }

  static ChildTarget launch(String... arguments) throws IOException {
    List<String> command = new ArrayList<>();
    command.add(System.getProperty("java.home") + "/bin/java");
    command.addAll(
        List.of("-Xmx48m", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1", "-cp",
            System.getProperty("java.class.path"), FaultTarget.class.getName()));
    command.addAll(Arrays.asList(arguments));
    return new ChildTarget(new ProcessBuilder(command).redirectErrorStream(true).start());
  }

  /** Starts it with a free port, and returns when it is ready. */
  static ChildTarget start(String... arguments) throws IOException {
    List<String> all = new ArrayList<>(List.of("--port", "0"));
    all.addAll(Arrays.asList(arguments));
    ChildTarget target = launch(all.toArray(new String[0]));
    target.awaitReady();
    return target;
  }

  void awaitReady() throws IOException {
    String line = readLine();
    Matcher matcher = READY.matcher(line == null ? "" : line);
    if (!matcher.matches()) {
      close();
      throw new IOException("not ready: " + line);
    }
    port = matcher.group(1);
    pid = Long.parseLong(matcher.group(2));
  }

  String readLine() throws IOException {
    return out.readLine();
  }

  String command(String line) throws IOException {
    OutputStream in = process.getOutputStream();
    in.write((line + '\n').getBytes(StandardCharsets.UTF_8));
    in.flush();
    return readLine();
  }

  String port() {
    return port;
  }

  long pid() {
    return pid;
  }

  Process process() {
    return process;
  }

  JMXConnector connect() throws IOException {
    return JMXConnectorFactory.connect(
        new JMXServiceURL("service:jmx:rmi:///jndi/rmi://127.0.0.1:" + port + "/jmxrmi"),
        Map.of());
  }

  static ControlMBean control(JMXConnector connector) throws IOException {
    return JMX.newMBeanProxy(
        connector.getMBeanServerConnection(), Control.NAME, ControlMBean.class);
  }

  @Override
  public void close() {
    process.destroy();
    process.onExit().join();
  }
}
