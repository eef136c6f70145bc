package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.net.LoopbackRoute;
import com.qrv.norvel.monitoring.jmx.net.PublishedStub;
import com.qrv.norvel.monitoring.jmx.net.Route;
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.sun.tools.attach.AttachNotSupportedException;
import com.sun.tools.attach.VirtualMachine;
import java.io.IOException;
import java.util.function.BooleanSupplier;
import javax.management.remote.rmi.RMIServer;

/** Connects to a JVM of this machine, in which it starts the management agent once. */
public final class LocalDialer extends RmiDialer {
  private final long pid;
  private final BooleanSupplier isAttachable;
  private final Clock clock;
  private final AttachLimit limit = new AttachLimit();
  private final Route route;
  private volatile int port; // of the management agent
  private volatile String address; // null before the management agent runs

  /**
   * @param isAttachable asked before each attempt; false while the process must be left alone,
   *     because it would not survive or could not answer
   */
  public LocalDialer(
      String target,
      long pid,
      BooleanSupplier isAttachable,
      ListeningPorts ports,
      LinkTimes times,
      OperatorLog log) {
    super(target, times, log);
    this.pid = pid;
    this.isAttachable = isAttachable;
    this.route = new LoopbackRoute(ports, pid);
    this.clock = times.clock();
  }

  @Override
  public void encourage() {
    limit.reset();
  }

  @Override
  RMIServer server() throws Exception {
    if (!isAttachable.getAsBoolean()) {
      throw new IOException(
          "process " + pid + " is stopped, has ended or does not allow attaching");
    }
    if (address == null) {
      address = startManagementAgent();
    }
    lead(route);
    PublishedStub stub = PublishedStub.parse(address);
    port = stub.port();
    return read(stub.at(route.resolve(stub.host(), port)));
  }

  /** Whoever answers now has been there since the connection was made. */
  @Override
  void confirm() throws IOException {
    route.resolve("", port);
  }

  private String startManagementAgent() throws IOException, AttachNotSupportedException {
    if (!limit.allows(clock.millis())) {
      throw new IOException(
          "process " + pid + " has not responded to " + AttachLimit.FREE_FAILURES
              + " requests to attach; it is asked again every "
              + AttachLimit.PAUSE_MILLIS / 60_000 + " minutes");
    }
    VirtualMachine machine;
    try {
      machine = VirtualMachine.attach(Long.toString(pid));
    } catch (AttachNotSupportedException e) {
      limit.failed(clock.millis());
      throw e;
    }
    limit.reset();
    try {
      return machine.startLocalManagementAgent();
    } finally {
      machine.detach();
    }
  }
}
