package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.attach.AttachRefusedException;
import com.qrv.norvel.monitoring.jmx.attach.JvmAttach;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.net.LoopbackRoute;
import com.qrv.norvel.monitoring.jmx.net.PublishedStub;
import com.qrv.norvel.monitoring.jmx.net.Route;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.qrv.norvel.monitoring.jmx.process.PerfData;
import java.io.IOException;
import javax.management.remote.rmi.RMIServer;

/**
 * Connects to a JVM of this machine, in which it starts the management agent when none runs.
 *
 * <p>The JVM publishes that agent's address, and may be of a user who wishes us ill. All that is
 * taken from it is a port, on which the process itself must listen, and the number of an object.
 */
public final class LocalDialer extends RmiDialer {
  private final JvmProcess jvm;
  private final JvmAccess access;
  private final long attachMillis;
  private final Route route;
  private final Clock clock;
  private final AttachLimit limit = new AttachLimit();
  private volatile JvmAttach attach; // the last one, which may be in progress; null before it
  private volatile int port; // of the management agent

  /** @param attachMillis how long to wait for the JVM to open its socket for tools */
  public LocalDialer(
      String target,
      JvmProcess jvm,
      JvmAccess access,
      ListeningPorts ports,
      long attachMillis,
      LinkTimes times,
      OperatorLog log) {
    super(target, times, log);
    this.jvm = jvm;
    this.access = access;
    this.attachMillis = attachMillis;
    this.route = new LoopbackRoute(ports, jvm.pid());
    this.clock = times.clock();
  }

  @Override
  public void encourage() {
    limit.reset();
  }

  @Override
  public void cut() {
    JvmAttach last = attach;
    if (last != null) {
      last.cut();
    }
    super.cut();
  }

  @Override
  RMIServer server() throws IOException, InterruptedException {
    checkProcess();
    lead(route);
    PublishedStub stub = PublishedStub.parse(address());
    port = stub.port();
    return read(stub.at(route.resolve(stub.host(), port)));
  }

  /** Whoever answers now has been there since the connection was made. */
  @Override
  void confirm() throws IOException {
    checkProcess();
    route.resolve("", port);
  }

  private void checkProcess() throws IOException {
    if (!access.isAttachable(jvm)) {
      throw new IOException(
          "process " + jvm.pid() + " is stopped, has ended or does not allow attaching");
    }
  }

  private String address() throws IOException, InterruptedException {
    String address = published();
    if (address == null) {
      startManagementAgent();
      address = published();
    }
    if (address == null) {
      throw new IOException(
          "process " + jvm.pid() + " does not publish the address of its management agent");
    }
    return address;
  }

  private String published() throws IOException {
    PerfData data = access.published(jvm);
    return data == null ? null : data.text(PerfData.ADDRESS);
  }

  private void startManagementAgent() throws IOException, InterruptedException {
    if (!limit.allows(clock.millis())) {
      throw new IOException(
          "process " + jvm.pid() + " has not responded to " + AttachLimit.FREE_FAILURES
              + " requests to attach; it is asked again every "
              + AttachLimit.PAUSE_MILLIS / 60_000 + " minutes");
    }
    try {
      // A new one each time: a thread that was lost may still be in the last.
      JvmAttach now = new JvmAttach(jvm, access, attachMillis, clock);
      attach = now;
      now.startManagementAgent();
    } catch (AttachRefusedException e) {
      limit.failed(clock.millis());
      throw e;
    }
    limit.reset();
  }
}
