package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.BoundedLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.discovery.LinuxProcesses;
import com.qrv.norvel.monitoring.jmx.discovery.LocalProcess;
import com.qrv.norvel.monitoring.jmx.discovery.ProcessTable;
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
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.qrv.norvel.monitoring.jmx.process.ProcFs;
import java.nio.file.Path;
import java.util.Random;
import java.util.function.BooleanSupplier;

/** Makes targets that are reached through the attach API and RMI. The thread of targets only. */
final class JmxTargetFactory implements TargetFactory {
  /** A JVM that was never attached to may take its time to start its side of it. */
  private static final long ATTACH_MILLIS = 15_000;

  private final JmxConfig.Calls calls;
  private final Clock clock;
  private final OperatorLog log;
  private final CallWatchdog watchdog;
  private final ListeningPorts ports = new ListeningPorts(new ProcFs(Path.of("/proc")));
  private ProcessTable processes; // null until somebody asks

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
  public ProcessTable processes() {
    if (processes == null) {
      processes = new LinuxProcesses();
    }
    return processes;
  }

  @Override
  public MonitoredJvm local(
      final LocalProcess process, String name, String mainClass, Targets targets) {
    final ProcessTable table = processes();
    BooleanSupplier isAttachable =
        () -> {
          LocalProcess now = table.look(process.pid());
          return now != null && now.isSameAs(process) && now.isAttachable();
        };
    OperatorLog own = BoundedLog.ofSource(log, clock);
    Dialer dialer =
        new LocalDialer(name, process.pid(), isAttachable, ports, times(), own);
    TargetIdentity identity =
        new TargetIdentity(
            name, TargetKind.LOCAL, mainClass, process.pid(), "attach:" + process.pid());
    return connected(identity, dialer, ATTACH_MILLIS, own, targets);
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
