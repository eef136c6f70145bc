package com.qrv.norvel.monitoring.toolkit.bridge;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import java.lang.reflect.Proxy;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

class DispatcherTest {
  private final List<HashMap<Integer, Object>> sent = new ArrayList<>();
  private final List<String> logged = new ArrayList<>();

  @Test
  void copiesIdAndHandleIntoTheReply() {
    deliver((code, body) -> new HashMap<>(Map.of(9, "nine")), 0, 42, Long.MIN_VALUE);

    assertThat(sent)
        .containsExactly(
            new HashMap<>(Map.of(0, 1, 1, 42, 3, Map.of(9, "nine"), 4, Long.MIN_VALUE)));
  }

  @Test
  void answersAnErrorOfTheHandlerAsAnOrdinaryException() {
    deliver(
        (code, body) -> {
          throw new StackOverflowError("deep");
        },
        0,
        2,
        7L);

    assertThat(sent).hasSize(1);
    assertThat(sent.get(0).get(0)).isEqualTo(3);
    assertThat(sent.get(0).get(3))
        .isEqualTo(
            new HashMap<>(Map.of(0, 3, 1, "request 2 failed: java.lang.StackOverflowError: deep")));
    assertThat(logged).containsExactly("request 2 failed");
  }

  @Test
  void answersNothingToAOneWayMessageThatFails() {
    deliver(
        (code, body) -> {
          throw new OutOfMemoryError("full");
        },
        2,
        1,
        7L);

    assertThat(sent).isEmpty();
    assertThat(logged).containsExactly("message 1 failed");
  }

  @Test
  void sendsNoSecondAnswerWhenTheFirstFailsOnItsWay() {
    Dispatcher dispatcher =
        new Dispatcher(
            envelope -> {
              sent.add(envelope);
              throw new UnsatisfiedLinkError("doPutOutbound");
            },
            (code, body) -> new HashMap<>(),
            log());

    dispatcher.processInbound(message(0, 2, 7L));

    assertThat(sent).hasSize(1);
    assertThat(logged).hasSize(1);
  }

  @Test
  void survivesALogThatFails() {
    Dispatcher dispatcher =
        new Dispatcher(
            sent::add,
            (code, body) -> {
              throw new IllegalStateException("broken");
            },
            (AgentLog)
                Proxy.newProxyInstance(
                    AgentLog.class.getClassLoader(),
                    new Class<?>[] {AgentLog.class},
                    (proxy, method, arguments) -> {
                      throw new OutOfMemoryError("full");
                    }));

    dispatcher.processInbound(message(0, 2, 7L));
    dispatcher.processInbound(null);

    assertThat(sent).hasSize(1);
  }

  private void deliver(RequestHandler handler, int type, int id, Long handle) {
    new Dispatcher(sent::add, handler, log()).processInbound(message(type, id, handle));
  }

  private static HashMap<Integer, Object> message(int type, int id, Long handle) {
    return new HashMap<>(Map.of(0, type, 1, id, 4, handle));
  }

  /** A log that keeps the first argument of each call. */
  private AgentLog log() {
    return (AgentLog)
        Proxy.newProxyInstance(
            AgentLog.class.getClassLoader(),
            new Class<?>[] {AgentLog.class},
            (proxy, method, arguments) -> {
              logged.add((String) arguments[0]);
              return null;
            });
  }
}
