package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class RemoteAddressTest {
  @ParameterizedTest
  @CsvSource({
    "service:jmx:rmi:///jndi/rmi://db1:9010/jmxrmi, db1, 9010, jmxrmi",
    "service:jmx:rmi://ignored:1/jndi/rmi://db1:9010/a/b, db1, 9010, a/b",
    "service:jmx:rmi:///jndi/rmi://db1/jmxrmi, db1, 1099, jmxrmi",
    "service:jmx:rmi:///jndi/rmi://[::1]:9010/jmxrmi, [::1], 9010, jmxrmi",
  })
  void takesARegistryAddressApart(String url, String host, int port, String entry) {
    assertThat(RemoteAddress.parse(url)).isEqualTo(new RemoteAddress(url, host, port, entry));
  }

  @Test
  void keepsAnAddressWithAStubAsItIs() {
    assertThat(RemoteAddress.parse("service:jmx:rmi://h/stub/abc").isInRegistry()).isFalse();
  }

  @Test
  void hostAndPortMakeTheUsualUrl() {
    RemoteAddress address = RemoteAddress.of("::1", 9010);

    assertThat(address.url()).isEqualTo("service:jmx:rmi:///jndi/rmi://[::1]:9010/jmxrmi");
    assertThat(address.isInRegistry()).isTrue();
  }

  @ParameterizedTest
  @CsvSource({
    "db1:9010, not a JMX service URL",
    "service:jmx:jmxmp://db1:9010, only rmi",
    "service:jmx:rmi://db1:9010, must begin with",
    "service:jmx:rmi:///jndi/rmi://db1:9010, must be rmi://HOST:PORT/ENTRY",
    "service:jmx:rmi:///jndi/ldap://db1/jmxrmi, must begin with",
  })
  void saysWhatIsWrongWithAUrl(String url, String message) {
    assertThatThrownBy(() -> RemoteAddress.parse(url))
        .isInstanceOf(IllegalArgumentException.class)
        .hasMessageContaining(message);
  }
}
