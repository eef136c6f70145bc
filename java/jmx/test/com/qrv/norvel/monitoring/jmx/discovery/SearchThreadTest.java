package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

final class SearchThreadTest {
  private final RecordingLog log = new RecordingLog();
  private final AtomicInteger searches = new AtomicInteger();
  private final AtomicInteger results = new AtomicInteger();
  private LocalSearch thread;

  @AfterEach
  void close() {
    thread.close();
  }

  @Test
  void aSearchThatFailsOnceGoesOnAndIsReportedOnce() throws Exception {
    start(
        () -> {
          int number = searches.incrementAndGet();
          if (number <= 3) {
            throw new OutOfMemoryError("on purpose");
          }
          return List.of();
        });

    Await.until("it is well again", () -> results.get() >= 2);

    assertThat(log.errors())
        .containsExactly(
            "the search for local JVMs failed: java.lang.OutOfMemoryError: on purpose");
  }

  @Test
  void itEndsWithoutWaitingForASearchThatHangs() throws Exception {
    CountDownLatch hang = new CountDownLatch(1);
    start(
        () -> {
          searches.incrementAndGet();
          hang.await();
          return List.of();
        });
    Await.until("it searches", () -> searches.get() == 1);

    thread.close();
    hang.countDown();

    Await.until("the last search is over", () -> results.get() == 1);
    assertThat(searches).hasValue(1);
  }

  private void start(JvmSearch search) {
    thread = new SearchThread(search, 1, Clock.SYSTEM, log);
    thread.start(found -> results.incrementAndGet());
  }
}
