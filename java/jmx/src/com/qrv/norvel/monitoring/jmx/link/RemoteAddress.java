package com.qrv.norvel.monitoring.jmx.link;

import java.net.MalformedURLException;
import java.net.URI;
import java.net.URISyntaxException;
import java.util.Base64;
import javax.management.remote.JMXServiceURL;

/**
 * Where a JMX server is: an entry of an RMI registry, or a URL that holds the server's stub.
 *
 * @param host the registry's host; empty when there is none
 * @param port the registry's port; 0 when there is none
 * @param entry the name in the registry; empty when there is none
 */
public record RemoteAddress(String url, String host, int port, String entry) {
  private static final String REGISTRY_PREFIX = "/jndi/rmi://";
  private static final String STUB_PREFIX = "/stub/";

  /** The address that JVMs use when they are started with a JMX port. */
  public static RemoteAddress of(String host, int port) {
    String literal = host.indexOf(':') >= 0 && !host.startsWith("[") ? '[' + host + ']' : host;
    String url = "service:jmx:rmi:///jndi/rmi://" + literal + ':' + port + "/jmxrmi";
    return new RemoteAddress(url, host, port, "jmxrmi");
  }

  /**
   * Takes an RMI service URL apart.
   *
   * @throws IllegalArgumentException when it is none; the message says what is wrong
   */
  public static RemoteAddress parse(String url) {
    JMXServiceURL parsed;
    try {
      parsed = new JMXServiceURL(url);
    } catch (MalformedURLException e) {
      throw new IllegalArgumentException("it is not a JMX service URL: " + e.getMessage(), e);
    }
    if (!parsed.getProtocol().equals("rmi")) {
      throw new IllegalArgumentException(
          "the protocol " + parsed.getProtocol() + " is not supported, only rmi");
    }
    String path = parsed.getURLPath();
    if (path.startsWith(STUB_PREFIX)) {
      return new RemoteAddress(url, "", 0, "");
    }
    if (!path.startsWith(REGISTRY_PREFIX)) {
      throw new IllegalArgumentException(
          "its path must begin with " + REGISTRY_PREFIX + " or " + STUB_PREFIX);
    }
    URI registry;
    try {
      registry = new URI(path.substring("/jndi/".length()));
    } catch (URISyntaxException e) {
      throw new IllegalArgumentException("its registry address is wrong: " + e.getReason(), e);
    }
    String entry = registry.getPath();
    if (registry.getHost() == null || entry == null || entry.length() < 2) {
      throw new IllegalArgumentException(
          "its registry address must be rmi://HOST:PORT/ENTRY");
    }
    int port = registry.getPort() < 0 ? java.rmi.registry.Registry.REGISTRY_PORT
        : registry.getPort();
    return new RemoteAddress(url, registry.getHost(), port, entry.substring(1));
  }

  boolean isInRegistry() {
    return !entry.isEmpty();
  }

  /**
   * The stub in the URL, serialized.
   *
   * @throws IllegalArgumentException when it is damaged
   */
  byte[] stub() {
    String text = url.substring(url.indexOf(STUB_PREFIX) + STUB_PREFIX.length());
    int end = text.indexOf(';');
    return Base64.getDecoder().decode(end < 0 ? text : text.substring(0, end));
  }
}
