package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.ChildJvm;
import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.qrv.norvel.monitoring.jmx.process.RealJvm;
import com.sun.tools.attach.AttachNotSupportedException;
import java.util.concurrent.atomic.AtomicBoolean;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** How often a JVM that can't be attached to is asked. */
final class LocalDialerTest {
  private static final String TIMEOUT = "sun.tools.attach.attachTimeout";

  private static final ListeningPorts PORTS = new ListeningPorts(RealJvm.PROC);

  private final ManualClock clock = new ManualClock();
  private final LinkTimes times = new LinkTimes(1000, 0, clock);

  @BeforeEach
  void beImpatient() {
    System.setProperty(TIMEOUT, "50");
  }

  @AfterEach
  void bePatient() {
    System.clearProperty(TIMEOUT);
  }

  @Test
  void aJvmThatDoesNotAnswerIsAskedThreeTimesAndThenEveryTenMinutes() throws Exception {
    try (ChildJvm deaf = ChildJvm.start("-XX:+DisableAttachMechanism")) {
      LocalDialer dialer =
          new LocalDialer("deaf", deaf.pid(), () -> true, PORTS, times, new RecordingLog());
      assertAskedInVain(dialer);
      assertAskedInVain(dialer);
      assertAskedInVain(dialer);

      clock.advance(599_999);
      assertNotAsked(dialer);
      clock.advance(1);
      assertAskedInVain(dialer);
      assertNotAsked(dialer);
    }
  }

  @Test
  void aJvmOfWhichThereIsNewsIsAskedAgain() throws Exception {
    try (ChildJvm deaf = ChildJvm.start("-XX:+DisableAttachMechanism")) {
      LocalDialer dialer =
          new LocalDialer("deaf", deaf.pid(), () -> true, PORTS, times, new RecordingLog());
      for (int i = 0; i < AttachLimit.FREE_FAILURES; i++) {
        assertAskedInVain(dialer);
      }
      assertNotAsked(dialer);

      dialer.encourage();

      assertAskedInVain(dialer);
    }
  }

  @Test
  void aProcessThatMustBeLeftAloneIsNotAsked() {
    AtomicBoolean asked = new AtomicBoolean();
    LocalDialer dialer =
        new LocalDialer(
            "other", 1, () -> asked.getAndSet(true), PORTS, times, new RecordingLog());

    assertThatThrownBy(dialer::server).hasMessageContaining("is stopped");

    assertThat(asked).isTrue();
  }

  private static void assertAskedInVain(LocalDialer dialer) {
    assertThatThrownBy(dialer::server)
        .isInstanceOf(AttachNotSupportedException.class);
  }

  private static void assertNotAsked(LocalDialer dialer) {
    assertThatThrownBy(dialer::server)
        .hasMessageEndingWith(
            "has not responded to 3 requests to attach; it is asked again every 10 minutes");
  }
}
