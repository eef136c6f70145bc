package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatCode;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import org.junit.jupiter.api.Test;

class TraceLogTest {
  private final RecordingSink trace = new RecordingSink();
  private final AgentLog log = new TraceLog(trace, "ZJX", TraceLogTest.class);

  @Test
  void writesEachKindOfRecordInItsTraceClass() {
    log.error("e");
    log.warning("w");
    log.always("a");
    log.state("s");
    log.flow("f");
    log.detail("d");

    assertThat(trace.entries())
        .extracting(RecordingSink.Entry::classes)
        .containsExactly(0x80, 0x80, 0x00, 0x08, 0x40, 0x01);
    assertThat(trace.messages()).containsExactly("ERROR: e", "WARN: w", "a", "s", "f", "d");
  }

  @Test
  void namesComponentSourceFileAndFunction() {
    log.state("here");

    RecordingSink.Entry entry = trace.entries().get(0);
    assertThat(entry.component()).isEqualTo("ZJX");
    assertThat(entry.sourceFile()).isEqualTo("TraceLogTest.java");
    assertThat(entry.function()).isEqualTo("namesComponentSourceFileAndFunction");
  }

  private final class Inner implements Runnable {
    @Override
    public void run() {
      log.state("inside");
    }
  }

  @Test
  void findsTheFunctionInANestedClass() {
    new Inner().run();

    assertThat(trace.entries().get(0).function()).isEqualTo("run");
  }

  @Test
  void namesTheFileOfANestedClass() {
    new TraceLog(trace, "ZJX", Inner.class).state("x");

    assertThat(trace.entries().get(0).sourceFile()).isEqualTo("TraceLogTest.java");
    assertThat(trace.entries().get(0).function()).isEmpty();
  }

  @Test
  void writesTheStackAndTheCausesOfAnError() {
    log.error("failed", new IllegalStateException("outer", new IOException("inner")));

    assertThat(trace.messages().get(0))
        .startsWith("ERROR: failed\njava.lang.IllegalStateException: outer\n\tat ")
        .contains("writesTheStackAndTheCausesOfAnError")
        .contains("\nCaused by: java.io.IOException: inner\n\tat ");
  }

  @Test
  void endsWithACycleOfCauses() {
    Exception first = new Exception("first");
    Exception second = new Exception("second", first);
    first.initCause(second);
    first.setStackTrace(new StackTraceElement[0]);
    second.setStackTrace(new StackTraceElement[0]);

    log.error("failed", first);

    assertThat(trace.messages().get(0).split("Caused by")).hasSize(9);
  }

  @Test
  void writesTheCauseOfAWarningInOneLine() {
    log.warning("lost earth", new IOException("reset"));

    assertThat(trace.messages()).containsExactly("WARN: lost earth: java.io.IOException: reset");
  }

  @Test
  void writesTextsAsTheyAre() {
    log.always("100% \0 \uD83D\uDE00 %s");
    log.always(null);

    assertThat(trace.messages()).containsExactly("100% \0 \uD83D\uDE00 %s", "null");
  }

  @Test
  void throwsNothingWhenTheSinkFails() {
    AgentLog broken =
        new TraceLog(
            (classes, component, sourceFile, function, message) -> {
              throw new IllegalStateException("disk full");
            },
            "ZJX",
            TraceLogTest.class);

    String output = standardErrorOf(() -> broken.error("lost"));

    assertThat(output).contains("lost").contains("disk full");
  }

  /** An exception of somebody else's, whose operations fail. */
  private static final class Unruly extends Exception {
    private static final long serialVersionUID = 1L;

    @Override
    public StackTraceElement[] getStackTrace() {
      throw new StackOverflowError("deep");
    }

    @Override
    public String getMessage() {
      throw new IllegalStateException("no message");
    }

    @Override
    public synchronized Throwable getCause() {
      throw new IllegalStateException("no cause");
    }
  }

  @Test
  void writesWhatItCanOfAFailureWhoseOwnOperationsFail() {
    log.error("failed", new Unruly());
    log.warning("failed", new Unruly());
    log.error("failed", null);

    assertThat(trace.messages())
        .containsExactly(
            "ERROR: failed\n" + Unruly.class.getName() + "\n\t(without its stack)",
            "WARN: failed: " + Unruly.class.getName(),
            "ERROR: failed\nnull\n\t(without its stack)");
  }

  @Test
  void throwsNothingWhenNotEvenTheFailureOfTheSinkCanBeTold() {
    AgentLog broken =
        new TraceLog(
            (classes, component, sourceFile, function, message) -> {
              throw new OutOfMemoryError() {
                private static final long serialVersionUID = 1L;

                @Override
                public String toString() {
                  throw new OutOfMemoryError();
                }
              };
            },
            "ZJX",
            TraceLogTest.class);

    assertThatCode(() -> broken.error("lost")).doesNotThrowAnyException();
  }

  @Test
  void tellsOfAnErrorThatCanNotBeTold() {
    log.error("it failed", new Unspeakable());

    assertThat(trace.messages()).hasSize(1);
    assertThat(trace.messages().get(0)).contains("it failed").contains("Unspeakable");
  }

  @Test
  void writesToStandardErrorWithoutTheNativeSide() {
    AgentLog real = new TraceLog(new RasSink(), "ZJX", TraceLogTest.class);

    String output =
        standardErrorOf(
            () -> {
              real.error("first");
              real.always("second");
              real.detail("third");
            });

    assertThat(output).contains("ERROR: first").contains("second").doesNotContain("third");
  }

  /** None of its operations works. */
  private static final class Unspeakable extends Error {
    private static final long serialVersionUID = 1L;

    @Override
    public String getMessage() {
      throw new IllegalStateException("no message");
    }

    @Override
    public StackTraceElement[] getStackTrace() {
      throw new StackOverflowError("no frames");
    }

    @Override
    public synchronized Throwable getCause() {
      throw new LinkageError("no cause");
    }

    @Override
    public String toString() {
      throw new OutOfMemoryError("no text");
    }
  }

  private static String standardErrorOf(Runnable action) {
    PrintStream before = System.err;
    ByteArrayOutputStream output = new ByteArrayOutputStream();
    System.setErr(new PrintStream(output, true, StandardCharsets.UTF_8));
    try {
      action.run();
    } finally {
      System.setErr(before);
    }
    return output.toString(StandardCharsets.UTF_8);
  }
}
