package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.EventLog;
import com.sun.tools.attach.AttachNotSupportedException;
import com.sun.tools.attach.VirtualMachine;
import java.io.IOException;
import java.util.Map;
import java.util.function.BooleanSupplier;
import javax.management.remote.JMXServiceURL;
import javax.management.remote.rmi.RMIConnector;

/** Connects to a JVM of this machine, in which it starts the management agent once. */
public final class LocalDialer extends RmiDialer {
  /**
   * A JVM that does not start its side of the attach mechanism in time prints its threads instead,
   * into its own output, for each attempt.
   */
  private static final int MAX_ATTACH_FAILURES = 3;

  private final long pid;
  private final BooleanSupplier isAttachable;
  private int attachFailures; // the target's thread only
  private String address; // null before the management agent runs; the target's thread only

  /**
   * @param isAttachable asked before each attempt; false while the process must be left alone,
   *     because it would not survive or could not answer
   */
  public LocalDialer(
      String target, long pid, BooleanSupplier isAttachable, LinkTimes times, EventLog log) {
    super(target, times, log);
    this.pid = pid;
    this.isAttachable = isAttachable;
  }

  @Override
  RMIConnector connector(Map<String, Object> environment) throws Exception {
    if (!isAttachable.getAsBoolean()) {
      throw new IOException("process " + pid + " is stopped, gone or not to be attached to");
    }
    if (address == null) {
      address = startManagementAgent();
    }
    return new RMIConnector(new JMXServiceURL(address), environment);
  }

  private String startManagementAgent() throws IOException, AttachNotSupportedException {
    if (attachFailures >= MAX_ATTACH_FAILURES) {
      throw new IOException(
          "process " + pid + " was asked " + attachFailures + " times in vain to be attached to");
    }
    VirtualMachine machine;
    try {
      machine = VirtualMachine.attach(Long.toString(pid));
    } catch (AttachNotSupportedException e) {
      attachFailures++;
      throw e;
    }
    try {
      return machine.startLocalManagementAgent();
    } finally {
      machine.detach();
    }
  }
}
