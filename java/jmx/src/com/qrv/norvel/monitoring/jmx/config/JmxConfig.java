package com.qrv.norvel.monitoring.jmx.config;

import com.qrv.norvel.monitoring.jmx.action.Operation;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonRule;
import com.qrv.norvel.monitoring.jmx.notify.NotificationRule;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;

/** What the configuration file says, with defaults for what it leaves out. Immutable. */
public record JmxConfig(
    Local local,
    List<Remote> remote,
    Calls calls,
    int maxTargets,
    List<Operation> actions,
    List<DaemonRule> daemons,
    List<NotificationRule> notifications) {
  /**
   * JVMs of this machine.
   *
   * @param include patterns of main classes; a JVM is monitored when one matches
   * @param exclude and none of these does
   */
  public record Local(
      boolean enabled, int intervalMillis, List<String> include, List<String> exclude) {}

  /**
   * A JVM behind a JMX address.
   *
   * @param name the subnode's name
   * @param url the JMX service URL; null when host and port are given
   * @param host null when the URL is given
   * @param user null to connect without one; {@code passwordFile} is null too then
   * @param allowedHosts where its stubs may lead besides its own host
   */
  public record Remote(
      String name,
      String url,
      String host,
      int port,
      String user,
      String passwordFile,
      List<String> allowedHosts) {}

  /**
   * Times of calls on JVMs.
   *
   * @param seldomMillis how old a value may be that hardly changes; 0 reads all for each sample
   */
  public record Calls(
      int timeoutMillis,
      int retryMinMillis,
      int retryMaxMillis,
      int heartbeatMillis,
      int seldomMillis) {}

  /** What holds without a file. */
  public static JmxConfig defaults() {
    return new JmxConfig(
        defaultLocal(),
        new ArrayList<>(),
        new Calls(3000, 1000, 30_000, 30_000, 10_000),
        200,
        List.of(),
        List.of(),
        List.of());
  }

  static Local defaultLocal() {
    return new Local(true, 5000, Collections.singletonList("*"), new ArrayList<>());
  }
}
