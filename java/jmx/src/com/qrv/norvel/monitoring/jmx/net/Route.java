package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.net.InetAddress;

/**
 * Where the connections of one target may lead. A target names endpoints as it likes, in its stubs;
 * a route is asked before each is dialled. Any thread may ask.
 */
public interface Route {
  /**
   * The address to dial for an endpoint that the target has named.
   *
   * @throws IOException when the target's connections must not lead there
   */
  InetAddress resolve(String host, int port) throws IOException;

  /** Whether the target may ask for TLS, in which its answers can't be checked before RMI's own. */
  default boolean allowsTls() {
    return true;
  }
}
