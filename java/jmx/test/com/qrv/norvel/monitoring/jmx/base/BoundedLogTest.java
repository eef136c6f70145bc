package com.qrv.norvel.monitoring.jmx.base;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import org.junit.jupiter.api.Test;

final class BoundedLogTest {
  private static final int BURST = 5;
  private static final long REFILL = 1000;

  private final RecordingLog written = new RecordingLog();
  private final ManualClock clock = new ManualClock();
  private final BoundedLog log = new BoundedLog(written, clock, BURST, REFILL);

  @Test
  void anEqualErrorIsNotWrittenAgainForAMinuteAndThenWithItsCount() {
    for (int i = 0; i < 4; i++) {
      log.error("a");
    }
    clock.advance(BoundedLog.REPEAT_MILLIS - 1);
    log.error("a");
    assertThat(written.errors()).containsExactly("a");

    clock.advance(1);
    log.error("a");

    assertThat(written.errors())
        .containsExactly("a", "a (4 more lines were left out before this one)");
  }

  @Test
  void ofTooManyDifferentErrorsAFewAreWrittenAndTheRestIsCounted() {
    for (int i = 0; i < 1000; i++) {
      log.error("number " + i);
    }
    assertThat(written.errors()).hasSize(BURST);

    clock.advance(REFILL);
    log.error("x");
    log.error("y");

    assertThat(written.errors()).hasSize(BURST + 1);
    assertThat(written.errors().get(BURST))
        .isEqualTo("x (995 more lines were left out before this one)");
  }

  @Test
  void otherLinesHaveAnAllowanceOfTheirOwnAndMayBeEqual() {
    for (int i = 0; i < 1000; i++) {
      log.info("up");
    }
    log.error("a");

    assertThat(written.infos()).hasSize(BURST).containsOnly("up");
    assertThat(written.errors()).containsExactly("a");
  }

  @Test
  void aLineIsCutAndCanNotPretendToBeTwo() {
    log.error("a\nERROR: b\u001b[2J" + "x".repeat(5000));

    assertThat(written.errors().get(0))
        .startsWith("a ERROR: b [2Jxxx")
        .hasSize(BoundedLog.MAX_LENGTH + 3);
  }
}
