package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.ChildJvm;
import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.attach.AttachRefusedException;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.ListeningPorts;
import com.qrv.norvel.monitoring.jmx.process.RealJvm;
import org.junit.jupiter.api.Test;

/** How often a JVM that can't be attached to is asked. */
final class LocalDialerTest {
  private final ManualClock clock = new ManualClock();

  @Test
  void aJvmThatDoesNotAnswerIsAskedThreeTimesAndThenEveryTenMinutes() throws Exception {
    try (ChildJvm deaf = ChildJvm.start("-XX:+DisableAttachMechanism")) {
      LocalDialer dialer = dialer(RealJvm.examine(deaf.pid()));
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
      LocalDialer dialer = dialer(RealJvm.examine(deaf.pid()));
      for (int i = 0; i < AttachLimit.FREE_FAILURES; i++) {
        assertAskedInVain(dialer);
      }
      assertNotAsked(dialer);

      dialer.encourage();

      assertAskedInVain(dialer);
    }
  }

  @Test
  void aProcessThatMustBeLeftAloneIsNotAsked() throws Exception {
    try (ChildJvm fragile = ChildJvm.start("-Xrs")) {
      LocalDialer dialer = dialer(RealJvm.examine(fragile.pid()));

      assertThatThrownBy(dialer::server).hasMessageContaining("is stopped, has ended or");

      assertThat(fragile.isAlive()).isTrue();
    }
  }

  /** The clock stands still, so it gives up at the first look. */
  private LocalDialer dialer(JvmProcess jvm) {
    LocalDialer dialer =
        new LocalDialer(
            "deaf",
            jvm,
            RealJvm.access(),
            new ListeningPorts(RealJvm.PROC),
            0,
            new LinkTimes(1000, 0, clock),
            new RecordingLog());
    dialer.adoptThread();
    return dialer;
  }

  private static void assertAskedInVain(LocalDialer dialer) {
    assertThatThrownBy(dialer::server).isInstanceOf(AttachRefusedException.class);
  }

  private static void assertNotAsked(LocalDialer dialer) {
    assertThatThrownBy(dialer::server)
        .hasMessageEndingWith(
            "has not responded to 3 requests to attach; it is asked again every 10 minutes");
  }
}
