package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.net.InetAddress;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class HostRouteTest {
  @ParameterizedTest
  @CsvSource({
    "192.0.2.10, 192.0.2.10",
    "localhost, 127.0.0.1",
    "127.0.0.1, localhost",
    "LocalHost, localhost",
    "127.0.0.1, 127.0.1.1", // this machine, too
    "[::1], ::1",
    "[2001:db8::1], 2001:db8:0:0:0:0:0:1",
  })
  void leadsToTheHostUnderAllItsNames(String configured, String named) throws IOException {
    assertThat(new HostRoute(configured, List.of()).resolve(named, 1))
        .isEqualTo(InetAddress.getByName(named));
  }

  @ParameterizedTest
  @CsvSource({
    "192.0.2.10, 192.0.2.11",
    "192.0.2.10, 127.0.0.1",
    "192.0.2.10, localhost",
    "127.0.0.1, 192.0.2.10",
    "127.0.0.1, 0.0.0.0",
    "unknown.invalid, 192.0.2.10",
  })
  void leadsToNoOther(String configured, String named) {
    assertThatThrownBy(() -> new HostRoute(configured, List.of()).resolve(named, 1))
        .isInstanceOf(IOException.class)
        .hasMessage(
            "it leads to the host " + named + " instead of " + configured
                + "; list it in 'allowed_hosts' if that is right");
  }

  @ParameterizedTest
  @CsvSource({"192.0.2.11, true", "192.0.2.12, true", "192.0.2.13, false", "localhost, true"})
  void leadsToWhatIsAllowedBesides(String named, boolean allowed) {
    HostRoute route =
        new HostRoute("192.0.2.10", List.of("192.0.2.11", "192.0.2.12", "127.0.0.1"));

    boolean leads;
    try {
      route.resolve(named, 1);
      leads = true;
    } catch (IOException e) {
      leads = false;
    }
    assertThat(leads).isEqualTo(allowed);
  }

  @Test
  void leadsAnywhereWhenThatIsAllowed() throws IOException {
    HostRoute route = new HostRoute("192.0.2.10", List.of("*"));

    assertThat(route.resolve("192.0.2.99", 1)).isEqualTo(InetAddress.getByName("192.0.2.99"));
  }

  @Test
  void aLongOrOddNameIsShownInPart() {
    HostRoute route = new HostRoute("192.0.2.10", List.of());

    assertThatThrownBy(() -> route.resolve("a\nb" + "c".repeat(60_000), 1))
        .hasMessageStartingWith("it leads to the host a?bccc")
        .matches(e -> e.getMessage().length() < 200, "is short");
  }
}
