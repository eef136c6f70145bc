package com.qrv.norvel.monitoring.jmx.net;

import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import java.io.IOException;
import java.net.InetAddress;

/**
 * Leads to the ports of one process of this machine, over the loopback interface. Which host the
 * process names for itself does not matter: none but this one is dialled.
 */
public record LoopbackRoute(ListeningPorts ports, long pid) implements Route {
  @Override
  public InetAddress resolve(String host, int port) throws IOException {
    InetAddress address = ports.loopback(pid, port);
    if (address == null) {
      throw new IOException(
          "it leads to port " + port + ", on which process " + pid + " alone does not listen");
    }
    return address;
  }

  /** A management agent that is reached this way has none. */
  @Override
  public boolean allowsTls() {
    return false;
  }
}
