package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.net.InetAddress;
import java.net.NetworkInterface;
import java.net.SocketException;
import java.net.UnknownHostException;
import java.rmi.Remote;
import java.util.Arrays;
import java.util.List;

/**
 * Leads to one host, whatever names and ports it has, and to those that are allowed besides. All
 * addresses of this machine are one host.
 */
public final class HostRoute implements Route {
  /** Among the allowed hosts: every host. */
  public static final String ANY = "*";

  private static final int MAX_SHOWN = 100;

  private final String host;
  private final List<String> allowed;

  /**
   * @param host a name or an address, an IPv6 address in brackets or without
   * @param allowed others like it, or {@link #ANY}
   */
  public HostRoute(String host, List<String> allowed) {
    this.host = host;
    this.allowed = List.copyOf(allowed);
  }

  /** Leads to the host of a stub that was configured as it is. */
  public static HostRoute of(Remote stub, List<String> allowed) throws IOException {
    return new HostRoute(StubEndpoint.of(stub).host(), allowed);
  }

  @Override
  public InetAddress resolve(String named, int port) throws IOException {
    // What was checked is what is dialled: the name may mean something else a moment later.
    InetAddress address = address(named);
    if (named.equalsIgnoreCase(host) || allowed.contains(ANY) || isOf(address, host)) {
      return address;
    }
    for (String other : allowed) {
      if (named.equalsIgnoreCase(other) || isOf(address, other)) {
        return address;
      }
    }
    throw new IOException(
        "it leads to the host " + shown(named) + " instead of " + host
            + "; list it in 'allowed_hosts' if that is right");
  }

  private static InetAddress address(String named) throws IOException {
    try {
      return InetAddress.getByName(named);
    } catch (UnknownHostException e) {
      throw new IOException("it leads to the host " + shown(named) + ", which is unknown", e);
    }
  }

  private static boolean isOf(InetAddress address, String host) throws SocketException {
    InetAddress[] addresses;
    try {
      addresses = InetAddress.getAllByName(host);
    } catch (UnknownHostException e) {
      return false;
    }
    return Arrays.asList(addresses).contains(address)
        || (isHere(address) && isHere(addresses[0]));
  }

  private static boolean isHere(InetAddress address) throws SocketException {
    return address.isLoopbackAddress() || NetworkInterface.getByInetAddress(address) != null;
  }

  /** The target has chosen the name, and it goes into the log. */
  private static String shown(String name) {
    StringBuilder text = new StringBuilder();
    for (int i = 0; i < Math.min(name.length(), MAX_SHOWN); i++) {
      char c = name.charAt(i);
      text.append(c > ' ' && c <= '~' ? c : '?');
    }
    return text.toString();
  }
}
