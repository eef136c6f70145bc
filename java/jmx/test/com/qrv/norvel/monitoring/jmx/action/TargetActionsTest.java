package com.qrv.norvel.monitoring.jmx.action;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.FakeAgent;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetException;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import java.lang.management.ManagementFactory;
import java.lang.reflect.Proxy;
import java.math.BigDecimal;
import java.util.List;
import java.util.Map;
import javax.management.MBeanServer;
import javax.management.ObjectName;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

final class TargetActionsTest {
  /** What the tests' MBean offers. */
  public interface CacheMBean {
    String clear(String region, int days);

    void fail();
  }

  /** Tells what it was asked for. */
  public static final class Cache implements CacheMBean {
    @Override
    public String clear(String region, int days) {
      return "cleared " + region + " of " + days + " days";
    }

    @Override
    public void fail() {
      throw new IllegalStateException("it is in use");
    }
  }

  private static final Operation CLEAR =
      new Operation(
          "clear-cache",
          "zel.test:type=Cache,name=*",
          "clear",
          List.of(
              new Argument("region", ArgumentType.STRING, List.of("eu", "us"), null, null),
              new Argument(
                  "days", ArgumentType.INT, List.of(), BigDecimal.ONE, BigDecimal.valueOf(30))),
          "empties the cache");
  private static final Operation FAIL =
      new Operation("fail", "zel.test:type=Cache,name=one", "fail", List.of(), "");

  private final MBeanServer server = ManagementFactory.getPlatformMBeanServer();
  private final FakeAgent agent = new FakeAgent();
  private final Map<String, MonitoredJvm> targets =
      Map.of(SelfJvm.NAME, new SelfJvm("the test", Clock.SYSTEM, new RecordingLog()));

  @BeforeEach
  void declare() throws Exception {
    server.registerMBean(new Cache(), bean("one"));
    new TargetActions(targets::get, List.of(CLEAR, FAIL)).register(agent, 1000);
  }

  @AfterEach
  void forget() throws Exception {
    for (ObjectName name : server.queryNames(bean("*"), null)) {
      server.unregisterMBean(name);
    }
  }

  @Test
  void garbageIsCollectedAtTheAgentItselfWithoutANode() throws Exception {
    ActionResult result = agent.run("", "gc");

    assertThat(result.code()).isZero();
    assertThat(result.message()).matches("heap used: \\d+ MiB before, \\d+ MiB after");
  }

  @Test
  void theHistogramHasAsManyClassesAsAskedFor() throws Exception {
    ActionResult result = agent.run("self", "heap-histogram", "3");

    assertThat(result.code()).isZero();
    assertThat(result.message().lines()).hasSize(5);
    assertThat(result.message()).contains("#instances").contains("   3:").doesNotContain("   4:");
  }

  @Test
  void aConfiguredOperationGetsItsTypedArguments() throws Exception {
    assertThat(agent.run("self", "clear-cache", "eu", "7"))
        .isEqualTo(ActionResult.ok("cleared eu of 7 days"));
  }

  static Arguments[] wrongArguments() {
    return new Arguments[] {
      Arguments.of(List.of("eu"), "it takes 2 arguments, not 1"),
      Arguments.of(
          List.of("asia", "7"), "argument 1, region: expected one of eu, us, not 'asia'"),
      Arguments.of(List.of("eu", "many"), "argument 2, days: expected int, not 'many'"),
      Arguments.of(List.of("eu", "31"), "argument 2, days: expected 1 to 30, not '31'"),
    };
  }

  @ParameterizedTest
  @MethodSource("wrongArguments")
  void aWrongArgumentIsNamedWithItsPlaceAndWhatWasExpected(List<String> words, String message)
      throws Exception {
    ActionResult result = agent.run("self", "clear-cache", words.toArray(new String[0]));

    assertThat(result.code()).isEqualTo(ActionResult.MALFORMED);
    assertThat(result.message())
        .isEqualTo(message + "; usage: clear-cache REGION=eu|us DAYS:int");
  }

  @Test
  void aPatternThatFitsSeveralBeansIsRefused() throws Exception {
    server.registerMBean(new Cache(), bean("two"));

    ActionResult result = agent.run("self", "clear-cache", "eu", "7");

    assertThat(result.code()).isEqualTo(ActionResult.FAILED);
    assertThat(result.message()).contains("2 MBeans match");
  }

  @Test
  void whatTheOperationThrowsIsTold() throws Exception {
    ActionResult result = agent.run("self", "fail");

    assertThat(result.code()).isEqualTo(ActionResult.FAILED);
    assertThat(result.message()).contains("it is in use");
  }

  static Arguments[] outcomes() {
    return new Arguments[] {
      Arguments.of(TargetException.Outcome.NOT_DONE, 3),
      Arguments.of(TargetException.Outcome.REFUSED, ActionResult.FAILED),
      Arguments.of(TargetException.Outcome.UNKNOWN, ActionResult.TIMED_OUT),
    };
  }

  @ParameterizedTest
  @MethodSource("outcomes")
  void theCodeTellsWhetherAnythingWasDone(TargetException.Outcome outcome, int code)
      throws Exception {
    FakeAgent other = new FakeAgent();
    MonitoredJvm sick =
        (MonitoredJvm)
            Proxy.newProxyInstance(
                getClass().getClassLoader(),
                new Class<?>[] {MonitoredJvm.class},
                (proxy, method, arguments) -> {
                  assertThat(((TargetWork<?>) arguments[1]).limitMillis(3000)).isEqualTo(28_000);
                  throw new TargetException("it went wrong", outcome);
                });
    new TargetActions(name -> sick, List.of()).register(other, 1000);

    assertThat(other.run("shop", "gc")).isEqualTo(ActionResult.failed(code, "it went wrong"));
  }

  @Test
  void anUnknownTargetIsNamed() throws Exception {
    assertThat(agent.run("nobody", "gc"))
        .isEqualTo(ActionResult.failed(3, "there is no target nobody"));
  }

  @Test
  void helpListsEveryActionWithItsArguments() throws Exception {
    assertThat(agent.run("", "help").message().lines())
        .containsExactly(
            "gc  collects garbage",
            "heap-histogram [LINES]  lists the classes with the most bytes in the heap;"
                + " collects garbage first",
            "clear-cache REGION=eu|us DAYS:int  empties the cache",
            "fail");
  }

  private static ObjectName bean(String name) throws Exception {
    return new ObjectName("zel.test:type=Cache,name=" + name);
  }
}
