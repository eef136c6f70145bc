package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.BoundedLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.discovery.JvmSearch;
import com.qrv.norvel.monitoring.jmx.discovery.LinuxSearch;
import com.qrv.norvel.monitoring.jmx.discovery.LocalJvm;
import com.qrv.norvel.monitoring.jmx.discovery.LocalSearch;
import com.qrv.norvel.monitoring.jmx.discovery.SearchThread;
import com.qrv.norvel.monitoring.jmx.link.Dialer;
import com.qrv.norvel.monitoring.jmx.link.LinkTimes;
import com.qrv.norvel.monitoring.jmx.link.LocalDialer;
import com.qrv.norvel.monitoring.jmx.link.RemoteAddress;
import com.qrv.norvel.monitoring.jmx.link.RemoteDialer;
import com.qrv.norvel.monitoring.jmx.monitored.CallWatchdog;
import com.qrv.norvel.monitoring.jmx.monitored.ConnectedJvm;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.Retry;
import com.qrv.norvel.monitoring.jmx.monitored.TargetIdentity;
import com.qrv.norvel.monitoring.jmx.monitored.TargetKind;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.monitored.TargetTimes;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.qrv.norvel.monitoring.jmx.process.ProcFs;
import java.nio.file.Path;
import java.util.Random;

/** Makes targets that are reached over RMI, local ones by attaching. The thread of targets only. */
final class JmxTargetFactory implements TargetFactory {
  /** A JVM that was never attached to may take its time to start its side of it. */
  private static final long ATTACH_MILLIS = 10_000;

  /** How long connecting to a local JVM may take in all. */
  private static final long LOCAL_DIAL_MILLIS = ATTACH_MILLIS + 5_000;

  private final ProcFs proc = new ProcFs(Path.of("/proc"));
  private final ListeningPorts ports = new ListeningPorts(proc);
  private final JmxConfig.Calls calls;
  private final Clock clock;
  private final OperatorLog log;
  private final CallWatchdog watchdog;
  private JvmAccess access; // null until somebody asks

  JmxTargetFactory(JmxConfig.Calls calls, Clock clock, OperatorLog log) {
    this.calls = calls;
    this.clock = clock;
    this.log = log;
    this.watchdog = new CallWatchdog(clock, calls.timeoutMillis());
  }

  @Override
  public Clock clock() {
    return clock;
  }

  @Override
  public LocalSearch search(long intervalMillis) {
    OperatorLog own = BoundedLog.ofSource(log, clock);
    JvmSearch search = new LinuxSearch(proc, access(), ProcessHandle.current().pid(), own);
    return new SearchThread(search, intervalMillis, clock, own);
  }

  private JvmAccess access() {
    if (access == null) {
      access = new JvmAccess(proc, ProcessHandle.current().pid());
    }
    return access;
  }

  @Override
  public MonitoredJvm local(LocalJvm jvm, String name, String mainClass, Targets targets) {
    OperatorLog own = BoundedLog.ofSource(log, clock);
    Dialer dialer =
        new LocalDialer(name, jvm.process(), access(), ports, ATTACH_MILLIS, times(), own);
    TargetIdentity identity =
        new TargetIdentity(
            name, TargetKind.LOCAL, mainClass, jvm.pid(), "attach:" + jvm.pid());
    return connected(identity, dialer, LOCAL_DIAL_MILLIS, own, targets);
  }

  @Override
  public MonitoredJvm remote(JmxConfig.Remote remote, Targets targets) {
    RemoteAddress address =
        remote.url() == null
            ? RemoteAddress.of(remote.host(), remote.port())
            : RemoteAddress.parse(remote.url());
    Path passwordFile = remote.passwordFile() == null ? null : Path.of(remote.passwordFile());
    OperatorLog own = BoundedLog.ofSource(log, clock);
    Dialer dialer =
        new RemoteDialer(
            remote.name(),
            address,
            remote.user(),
            passwordFile,
            remote.allowedHosts(),
            times(),
            own);
    TargetIdentity identity =
        new TargetIdentity(
            remote.name(), TargetKind.REMOTE, remote.name(), TargetStatus.UNKNOWN, address.url());
    // A connection takes several round trips: the registry, the server, the authentication.
    return connected(identity, dialer, 2L * calls.timeoutMillis(), own, targets);
  }

  @Override
  public void close() {
    watchdog.close();
  }

  private LinkTimes times() {
    return new LinkTimes(calls.timeoutMillis(), calls.seldomMillis(), clock);
  }

  private MonitoredJvm connected(
      TargetIdentity identity,
      Dialer dialer,
      long dialMillis,
      OperatorLog own,
      Targets targets) {
    long call = calls.timeoutMillis();
    TargetTimes times =
        new TargetTimes(call, Math.max(dialMillis, call), calls.heartbeatMillis());
    Retry retry = new Retry(calls.retryMinMillis(), calls.retryMaxMillis(), new Random());
    return new ConnectedJvm(identity, times, dialer, retry, watchdog, clock, own, targets);
  }
}
