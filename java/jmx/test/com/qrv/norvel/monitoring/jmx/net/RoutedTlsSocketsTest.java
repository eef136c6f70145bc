package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.io.InputStream;
import java.net.InetAddress;
import java.net.Socket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyStore;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import javax.net.ssl.KeyManagerFactory;
import javax.net.ssl.SSLContext;
import javax.net.ssl.SSLServerSocket;
import javax.net.ssl.SSLSocketFactory;
import javax.net.ssl.TrustManagerFactory;
import javax.rmi.ssl.SslRMIClientSocketFactory;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

final class RoutedTlsSocketsTest {
  @TempDir private Path directory;

  @Test
  void aStubThatAsksForTlsLeadsWhereItsRouteDoes() throws Exception {
    SSLContext before = SSLContext.getDefault();
    TargetSockets target = new TargetSockets(RmiSetup.once(2000));
    target.adoptThread();
    SSLContext context = context();
    SSLContext.setDefault(context);
    try (SSLServerSocket server =
        (SSLServerSocket)
            context
                .getServerSocketFactory()
                .createServerSocket(0, 1, InetAddress.getLoopbackAddress())) {
      SslRMIClientSocketFactory stubs = new SslRMIClientSocketFactory();
      assertThatThrownBy(() -> stubs.createSocket("127.0.0.1", server.getLocalPort()))
          .hasMessageContaining("no route");
      assertThat(SSLSocketFactory.getDefault()).isInstanceOf(RoutedTlsSockets.class);

      target.lead(new LoopbackRoute(null, 0));
      assertThatThrownBy(() -> stubs.createSocket("127.0.0.1", server.getLocalPort()))
          .hasMessageContaining("it asks for TLS");

      target.lead((host, port) -> InetAddress.getLoopbackAddress());
      CompletableFuture<Integer> received = new CompletableFuture<>();
      new Thread(() -> serve(server, received)).start();
      try (Socket socket = stubs.createSocket("far.invalid", server.getLocalPort())) {
        socket.getOutputStream().write(42);
        assertThat(received.get(60, TimeUnit.SECONDS)).isEqualTo(42);

        target.cut();

        assertThatThrownBy(() -> socket.getInputStream().read()).isInstanceOf(IOException.class);
      }
    } finally {
      SSLContext.setDefault(before);
    }
  }

  private static void serve(SSLServerSocket server, CompletableFuture<Integer> received) {
    try (Socket socket = server.accept()) {
      received.complete(socket.getInputStream().read());
      socket.getInputStream().read(); // until it is left
    } catch (IOException e) {
      received.completeExceptionally(e);
    }
  }

  /** Knows a key of its own, and trusts it. */
  private SSLContext context() throws Exception {
    Path file = directory.resolve("keys");
    Process keytool =
        new ProcessBuilder(
                Path.of(System.getProperty("java.home"), "bin", "keytool").toString(),
                "-genkeypair", "-alias", "a", "-keyalg", "EC", "-dname", "CN=test",
                "-ext", "san=dns:far.invalid",
                "-storetype", "PKCS12", "-storepass", "s3cret", "-keystore", file.toString())
            .inheritIO()
            .start();
    assertThat(keytool.waitFor()).isZero();
    KeyStore keys = KeyStore.getInstance("PKCS12");
    try (InputStream input = Files.newInputStream(file)) {
      keys.load(input, "s3cret".toCharArray());
    }
    KeyManagerFactory own =
        KeyManagerFactory.getInstance(KeyManagerFactory.getDefaultAlgorithm());
    own.init(keys, "s3cret".toCharArray());
    TrustManagerFactory trusted =
        TrustManagerFactory.getInstance(TrustManagerFactory.getDefaultAlgorithm());
    trusted.init(keys);
    SSLContext context = SSLContext.getInstance("TLS");
    context.init(own.getKeyManagers(), trusted.getTrustManagers(), null);
    return context;
  }
}
