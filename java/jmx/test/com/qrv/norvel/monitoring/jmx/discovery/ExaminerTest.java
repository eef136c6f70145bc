package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Await;
import java.io.FileNotFoundException;
import java.io.IOException;
import java.util.concurrent.CountDownLatch;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

final class ExaminerTest {
  private final CountDownLatch hang = new CountDownLatch(1);
  private final Examiner examiner = new Examiner(100);
  private final Examiner patient = new Examiner(60_000);

  @AfterEach
  void letGo() {
    hang.countDown();
    examiner.close();
    patient.close();
  }

  @Test
  void givesWhatALookGives() throws Exception {
    assertThat(patient.<String>look("ann", () -> "seen")).isEqualTo("seen");
    assertThatThrownBy(
            () ->
                patient.look(
                    "ann",
                    () -> {
                      throw new FileNotFoundException("gone");
                    }))
        .isInstanceOf(IOException.class)
        .hasMessage("gone");
  }

  @Test
  void aLookThatHangsCostsItsOwnerAloneUntilItEnds() throws Exception {
    hangFor("mallory");

    assertThat(examiner.isClosedTo("mallory")).isTrue();
    assertThat(examiner.isClosedTo("ann")).isFalse();
    assertThat(patient.<String>look("ann", () -> "seen")).isEqualTo("seen");

    hang.countDown();
    Await.until("the look has ended", () -> !examiner.isClosedTo("mallory"));
  }

  @Test
  void soManyThreadsAreLostAndNoMore() throws Exception {
    for (int i = 0; i < Examiner.MAX_LOST; i++) {
      assertThat(examiner.isClosedTo("ann")).isFalse();
      hangFor("mallory" + i);
    }

    assertThat(examiner.isClosedTo("ann")).isTrue();
    hang.countDown();
    Await.until("the threads are back", () -> !examiner.isClosedTo("ann"));
  }

  private void hangFor(String owner) {
    assertThatThrownBy(
            () ->
                examiner.look(
                    owner,
                    () -> {
                      hang.await();
                      return null;
                    }))
        .isInstanceOf(IOException.class)
        .hasMessageContaining("more than 100 ms");
  }
}
