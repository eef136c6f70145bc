package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.net.InetAddress;
import java.net.Socket;
import java.rmi.server.RMISocketFactory;
import java.security.NoSuchAlgorithmException;
import javax.net.ssl.SSLContext;
import javax.net.ssl.SSLSocketFactory;

/**
 * The process's sockets for TLS, over those that RMI uses without it. A target's stub may ask for
 * TLS; that way, too, it leads only where its route does, and can be cut.
 *
 * <p>Public, with a constructor of no arguments: the runtime makes it, by its name.
 */
public final class RoutedTlsSockets extends SSLSocketFactory {
  private final SSLSocketFactory tls;

  public RoutedTlsSockets() throws NoSuchAlgorithmException {
    tls = SSLContext.getDefault().getSocketFactory();
  }

  @Override
  public Socket createSocket(String host, int port) throws IOException {
    if (RMISocketFactory.getSocketFactory() instanceof TrackedSockets sockets) {
      return createSocket(sockets.createTlsCarrier(host, port), host, port, true);
    }
    throw new IOException("the process's RMI socket factory belongs to somebody else");
  }

  @Override
  public Socket createSocket(Socket socket, String host, int port, boolean autoClose)
      throws IOException {
    return tls.createSocket(socket, host, port, autoClose);
  }

  @Override
  public Socket createSocket(String host, int port, InetAddress local, int localPort)
      throws IOException {
    return createSocket(host, port);
  }

  @Override
  public Socket createSocket(InetAddress host, int port) throws IOException {
    return createSocket(host.getHostAddress(), port);
  }

  @Override
  public Socket createSocket(InetAddress host, int port, InetAddress local, int localPort)
      throws IOException {
    return createSocket(host, port);
  }

  @Override
  public String[] getDefaultCipherSuites() {
    return tls.getDefaultCipherSuites();
  }

  @Override
  public String[] getSupportedCipherSuites() {
    return tls.getSupportedCipherSuites();
  }
}
