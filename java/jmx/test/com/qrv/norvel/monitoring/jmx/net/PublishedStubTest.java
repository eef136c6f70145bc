package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.DataOutputStream;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.lang.management.ManagementFactory;
import java.net.InetAddress;
import java.util.Arrays;
import java.util.Base64;
import java.util.HashMap;
import java.util.Random;
import javax.management.remote.JMXConnectorServer;
import javax.management.remote.JMXConnectorServerFactory;
import javax.management.remote.JMXServiceURL;
import javax.management.remote.rmi.RMIServer;
import javax.rmi.ssl.SslRMIClientSocketFactory;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

final class PublishedStubTest {
  /** As a JVM of version 17 publishes it. */
  private static final String REAL =
      "service:jmx:rmi://127.0.0.1/stub/rO0ABXNyAC5qYXZheC5tYW5hZ2VtZW50LnJlbW90ZS5ybWkuUk1JU2Vy"
          + "dmVySW1wbF9TdHViAAAAAAAAAAICAAB4cgAaamF2YS5ybWkuc2VydmVyLlJlbW90ZVN0dWLp/tzJi+FlGgIA"
          + "AHhyABxqYXZhLnJtaS5zZXJ2ZXIuUmVtb3RlT2JqZWN002G0kQxhMx4DAAB4cHc0AAtVbmljYXN0UmVmMgAA"
          + "CTEyNy4wLjAuMQAAggE5cmK6m8TfaNCI0J0AAAGiAmAPH4ABAHg=";

  @Test
  void takesTheStubOfAnAgentApart() throws Exception {
    PublishedStub stub = PublishedStub.parse(REAL);

    assertThat(stub.host()).isEqualTo("127.0.0.1");
    assertThat(stub.port()).isEqualTo(33281);
  }

  @Test
  void namesTheSameObjectBehindAnotherAddress() throws Exception {
    byte[] moved = PublishedStub.parse(REAL).at(InetAddress.getByName("127.0.0.9"));

    Object object = new ObjectInputStream(new ByteArrayInputStream(moved)).readObject();
    StubEndpoint endpoint = StubEndpoint.of((RMIServer) object);

    assertThat(endpoint).isEqualTo(new StubEndpoint("127.0.0.9", 33281));
    assertThat(object.toString())
        .contains("objID:[-2f772f63:1a202600f1f:-7fff, 4139479561123716968]");
  }

  @Test
  void readsWhatThisRuntimePublishes() throws Exception {
    JMXConnectorServer server = server(null);
    server.start();
    try {
      PublishedStub stub = PublishedStub.parse(server.getAddress().toString());
      assertThat(stub.port()).isPositive();
    } finally {
      server.stop();
    }
  }

  @Test
  void aStubThatMakesItsOwnSocketsIsRefused() throws Exception {
    JMXConnectorServer server = server(new SslRMIClientSocketFactory());
    server.start();
    try {
      assertDamaged(server.getAddress().toString());
    } finally {
      server.stop();
    }
  }

  private static JMXConnectorServer server(SslRMIClientSocketFactory sockets) throws Exception {
    HashMap<String, Object> environment = new HashMap<>();
    if (sockets != null) {
      environment.put("jmx.remote.rmi.client.socket.factory", sockets);
    }
    return JMXConnectorServerFactory.newJMXConnectorServer(
        new JMXServiceURL("service:jmx:rmi://"),
        environment,
        ManagementFactory.getPlatformMBeanServer());
  }

  @ParameterizedTest
  @ValueSource(
      strings = {
        "service:jmx:rmi:///jndi/ldap://evil.invalid/x",
        "service:jmx:rmi:///jndi/rmi://evil.invalid/jmxrmi",
        "service:jmx:iiop://127.0.0.1/stub/rO0",
        "http://evil.invalid/stub/rO0",
        "",
      })
  void whatIsNoAddressOfAnAgentIsRefused(String address) {
    assertThatThrownBy(() -> PublishedStub.parse(address))
        .isInstanceOf(IOException.class)
        .hasMessage("the JVM publishes an address that is not of a management agent");
  }

  @Test
  void anAddressWithoutEndIsRefused() {
    assertThatThrownBy(() -> PublishedStub.parse(REAL + "A".repeat(5000)))
        .isInstanceOf(IOException.class);
  }

  @Test
  void anotherObjectThanAStubIsRefused() throws Exception {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
      output.writeObject(new HashMap<>());
    }

    assertDamaged(address(bytes.toByteArray()));
  }

  @Test
  void whateverIsChangedBeforeTheObjectIsSeenOrIsAnotherPort() throws Exception {
    byte[] real = Base64.getDecoder().decode(REAL.substring(REAL.indexOf("/stub/") + 6));
    Random random = new Random(7);
    for (int round = 0; round < 5000; round++) {
      byte[] stub = real.clone();
      stub[random.nextInt(stub.length)] ^= (byte) (1 + random.nextInt(255));
      try {
        int port = PublishedStub.parse(address(stub)).port();
        assertThat(port).isBetween(1, 65_535);
      } catch (IOException e) {
        assertThat(e).hasMessage("the stub that the JVM publishes is damaged");
      }
    }
    for (int length = 0; length < real.length; length++) {
      assertDamaged(address(Arrays.copyOf(real, length)));
    }
  }

  @Test
  void aPortThatIsNoneIsRefused() throws Exception {
    byte[] real = Base64.getDecoder().decode(REAL.substring(REAL.indexOf("/stub/") + 6));
    int portAt = real.length - 1 - 23 - 4;
    for (int port : new int[] {0, -1, 65_536}) {
      ByteArrayOutputStream bytes = new ByteArrayOutputStream();
      bytes.write(real, 0, portAt);
      new DataOutputStream(bytes).writeInt(port);
      bytes.write(real, portAt + 4, 24);
      assertDamaged(address(bytes.toByteArray()));
    }
  }

  private static String address(byte[] stub) {
    return "service:jmx:rmi://127.0.0.1/stub/" + Base64.getEncoder().encodeToString(stub);
  }

  private static void assertDamaged(String address) {
    assertThatThrownBy(() -> PublishedStub.parse(address))
        .isInstanceOf(IOException.class)
        .hasMessage("the stub that the JVM publishes is damaged");
  }
}
