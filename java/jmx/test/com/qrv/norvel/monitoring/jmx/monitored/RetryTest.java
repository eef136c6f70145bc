package com.qrv.norvel.monitoring.jmx.monitored;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.Random;
import org.junit.jupiter.api.Test;

final class RetryTest {
  private final Retry retry = new Retry(1000, 30_000, new Random(1));

  @Test
  void theFirstAttemptIsDueAtOnce() {
    assertThat(retry.waitMillis(0)).isZero();
    assertThat(retry.hasFailed()).isFalse();
  }

  @Test
  void theDelayDoublesUpToTheMaximumWithATenthOfJitter() {
    long[] expected = {1000, 2000, 4000, 8000, 16_000, 30_000, 30_000};
    for (long delay : expected) {
      retry.failed(500);
      assertThat(retry.waitMillis(500)).isBetween(delay * 9 / 10, delay * 11 / 10);
    }
  }

  @Test
  void aHundredFailuresDoNotOverflow() {
    for (int i = 0; i < 100; i++) {
      retry.failed(0);
    }
    assertThat(retry.waitMillis(0)).isBetween(27_000L, 33_000L);
  }

  @Test
  void targetsThatFailTogetherReturnApart() {
    Retry other = new Retry(1000, 30_000, new Random(123_456_789));
    retry.failed(0);
    other.failed(0);

    assertThat(retry.waitMillis(0)).isNotEqualTo(other.waitMillis(0));
  }

  @Test
  void aSuccessEndsTheRow() {
    retry.failed(0);
    retry.failed(0);
    retry.succeeded();
    assertThat(retry.waitMillis(0)).isZero();

    retry.failed(0);
    assertThat(retry.waitMillis(0)).isLessThanOrEqualTo(1100);
  }

  @Test
  void aHintMakesOneAttemptDueWithoutShorteningTheDelayAfterIt() {
    retry.failed(0);
    retry.failed(0);
    retry.now(10);
    assertThat(retry.waitMillis(10)).isZero();

    retry.failed(10);
    assertThat(retry.waitMillis(10)).isGreaterThanOrEqualTo(3600);
  }
}
