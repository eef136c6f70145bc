package com.qrv.norvel.monitoring.fault;

import static org.assertj.core.api.Assertions.assertThat;

import java.util.concurrent.TimeUnit;
import javax.management.remote.JMXConnector;
import org.junit.jupiter.api.Test;

/** The program's command line, input and processes. */
class ProgramTest {
  private static final long GENEROUS_SECONDS = 60;

  private static int status(ChildTarget target) throws InterruptedException {
    assertThat(target.process().waitFor(GENEROUS_SECONDS, TimeUnit.SECONDS)).isTrue();
    return target.process().exitValue();
  }

  @Test
  void helpIsPrinted() throws Exception {
    try (ChildTarget target = ChildTarget.launch("--help")) {
      assertThat(target.readLine()).startsWith("Usage: java -jar zel-faulttarget.jar");
      while (target.readLine() != null) {
        // To its end, lest it waits for a reader.
      }
      assertThat(status(target)).isZero();
    }
  }

  @Test
  void aMistakeEndsItWithStatus2() throws Exception {
    try (ChildTarget target = ChildTarget.launch("beans=many")) {
      assertThat(target.readLine())
          .isEqualTo("zel-faulttarget: 'beans=many': beans=N takes a number from 1 to 1000000,"
              + " or off");
      assertThat(status(target)).isEqualTo(2);
    }
  }

  @Test
  void aPortThatIsTakenEndsItWithStatus1() throws Exception {
    try (ChildTarget first = ChildTarget.start();
        ChildTarget second = ChildTarget.launch("--port", first.port())) {
      assertThat(second.readLine())
          .startsWith("zel-faulttarget: the JMX port " + first.port() + " can't be opened: ");
      assertThat(status(second)).isEqualTo(1);
    }
  }

  @Test
  void aLineOfInputIsACommand() throws Exception {
    try (ChildTarget target = ChildTarget.launch()) {
      target.awaitReady();

      assertThat(target.port()).isEqualTo("none");
      assertThat(target.command("status")).isEqualTo("now well");
      assertThat(target.command("slow=20")).isEqualTo("now slow=20");
      assertThat(target.command(" throw ")).isEqualTo("now slow=20 throw=on");
      assertThat(target.command("slow=quickly"))
          .isEqualTo("error: 'slow=quickly': slow=MS takes a number from 1 to 3600000, or off");
      assertThat(target.command("drop=0"))
          .isEqualTo("error: drop needs a JMX port: start the program with --port");
      assertThat(target.command("restart=1"))
          .isEqualTo("error: restart must be given when the program is started");
      assertThat(target.command("off")).isEqualTo("now well");
      assertThat(target.command("quit")).isNull();
      assertThat(status(target)).isZero();
    }
  }

  @Test
  void aRestartingTargetComesBackOnItsPortAsAnotherProcess() throws Exception {
    try (ChildTarget target = ChildTarget.start("restart=1")) {
      String port = target.port();
      for (int round = 0; round < 3; round++) {
        long before = target.pid();
        target.awaitReady();

        assertThat(target.port()).isEqualTo(port);
        assertThat(target.pid()).isNotEqualTo(before);
        assertThat(ProcessHandle.of(before)).isEmpty();
      }
    }
  }

  @Test
  void aRestartingTargetIsStartedAgainWhenItIsKilled() throws Exception {
    try (ChildTarget target = ChildTarget.start("restart=86400")) {
      long before = target.pid();

      ProcessHandle.of(before).orElseThrow().destroyForcibly();
      target.awaitReady();

      assertThat(target.pid()).isNotEqualTo(before);
      assertThat(target.command("slow=5")).isEqualTo("now slow=5 restart=86400");
      try (JMXConnector connector = target.connect()) {
        assertThat(connector.getConnectionId()).isNotEmpty();
      }
    }
  }

  @Test
  void aRestartingTargetEndsWithItsKeeper() throws Exception {
    ChildTarget target = ChildTarget.start("restart=86400");
    ProcessHandle kept = ProcessHandle.of(target.pid()).orElseThrow();

    target.process().destroyForcibly();

    kept.onExit().get(GENEROUS_SECONDS, TimeUnit.SECONDS);
    target.close();
  }

  @Test
  void quitEndsARestartingTargetAndItsKeeper() throws Exception {
    try (ChildTarget target = ChildTarget.start("restart=86400")) {
      assertThat(target.command("quit")).isNull();
      assertThat(status(target)).isZero();
    }
  }
}
