package com.qrv.norvel.monitoring.jmx.monitored;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;

final class SelfJvmTest {
  private final RecordingLog log = new RecordingLog();
  private final SelfJvm self = new SelfJvm("tests", Clock.SYSTEM, log);

  @Test
  void workThatFailsIsLoggedOnceAndLeavesTheThreadToTheNext() throws Exception {
    for (int i = 0; i < 2; i++) {
      self.later(
          "listen #" + i,
          link -> {
            throw new OutOfMemoryError("on purpose");
          });
    }
    CompletableFuture<Object> next = new CompletableFuture<>();

    self.later("listen #2", link -> next.complete(""));

    next.get(30, TimeUnit.SECONDS);
    assertThat(log.errors()).containsExactly("target self: on purpose");
  }
}
