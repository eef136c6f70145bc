package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.rows;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.sampleBody;
import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.Filter;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.atomic.AtomicReference;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

/** What the native side gets for each message, with the application's code on its own thread. */
class RequestsTest {
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).cacheSeconds(30).build();
  private static final TableDefinition NODES =
      TableDefinition.builder("NODES").perSubnode().column(Columns.int16("N")).build();

  @Test
  void describesTheAgentAndItsTablesInAnswerToInit() {
    NativeSide agent =
        NativeSide.inline(
            declaring(
                it -> {
                  it.table(NODES, (request, rows) -> {});
                  it.table(COUNTS, (request, rows) -> {});
                  it.affinities("AFF_A", "AFF_V");
                }));

    HashMap<Integer, Object> answer = agent.init();

    HashMap<Integer, Object> nodes = new HashMap<>();
    nodes.put(7, "NODES");
    nodes.put(15, false);
    nodes.put(9, list(column("ORIGINNODE", 9, 32, 0), column("N", 5, 2, 32)));
    HashMap<Integer, Object> counts = new HashMap<>();
    counts.put(7, "COUNTS");
    counts.put(15, false);
    counts.put(9, list(column("N", 1, 4, 0)));
    HashMap<Integer, Object> expected = new HashMap<>();
    expected.put(1, "zel-toolkit 1");
    expected.put(4, "AFF_V");
    expected.put(5, "earth");
    expected.put(6, "AFF_A");
    expected.put(8, list(nodes, counts));
    assertThat(answer.get(0)).isEqualTo(1);
    assertThat(answer.get(1)).isEqualTo(0);
    assertThat(answer.get(3)).isEqualTo(expected);
  }

  @Test
  void handsTheIdentityToTheApplication() {
    AtomicReference<Agent> seen = new AtomicReference<>();
    NativeSide agent = NativeSide.inline(declaring(seen::set));

    HashMap<Integer, Object> answer = agent.init();

    assertThat(seen.get().info().productCode()).isEqualTo("ZJX");
    assertThat(seen.get().info().instance()).isEqualTo("one");
    assertThat(seen.get().info().hostName()).isEqualTo("earth");
    assertThat(body(answer).get(6)).isEqualTo("AFF_ZJX");
  }

  @Test
  void answersASampleWithItsRowsAndCacheTime() {
    NativeSide agent =
        configured(
            COUNTS,
            (request, rows) -> {
              rows.row().set(0, 0x01010101);
              rows.row().set(0, 0);
            });

    HashMap<Integer, Object> answer = agent.sample("COUNTS");

    assertThat(answer).containsOnlyKeys(0, 1, 3, 4);
    assertThat(answer.get(1)).isEqualTo(2);
    assertThat(body(answer).keySet()).isEqualTo(new HashMap<>(Map.of(4, 0, 10, 0)).keySet());
    assertThat(body(answer).get(10)).isEqualTo(30);
    assertThat(rows(answer)).containsExactly(new byte[] {1, 1, 1, 1}, new byte[4]);
  }

  @Test
  void handsTheWholeRequestToTheSampler() {
    AtomicReference<SampleRequest> seen = new AtomicReference<>();
    NativeSide agent = configured(NODES, (request, rows) -> seen.set(request));
    HashMap<Integer, Object> filter = new HashMap<>();
    filter.put(2, "N");
    filter.put(3, "7");
    HashMap<Integer, Object> body = sampleBody("NODES", "earth   ");
    body.put(1, list(filter));
    body.put(6, true);
    body.put(7, true);
    body.put(8, "Too_Many");

    agent.request(2, body);

    SampleRequest request = seen.get();
    assertThat(request.table()).isSameAs(NODES);
    assertThat(request.subnodes()).containsExactly("earth");
    assertThat(request.subnode()).isEqualTo("earth");
    assertThat(request.filters()).containsExactly(new Filter("N", "7"));
    assertThat(request.isHistory()).isTrue();
    assertThat(request.isAutomation()).isTrue();
    assertThat(request.situation()).isEqualTo("Too_Many");
  }

  @Test
  void answersAPerSubnodeTableWithoutSubnodesWithNoRowsUnasked() {
    NativeSide agent =
        configured(
            NODES,
            (request, rows) -> {
              throw new AssertionError("asked");
            });

    HashMap<Integer, Object> answer = agent.sample("NODES");

    assertThat(rows(answer)).isEmpty();
    assertThat(body(answer).get(10)).isEqualTo(0);
  }

  static Stream<Throwable> ordinaryFailures() {
    return Stream.of(
        new IOException("broken"),
        new IllegalStateException("broken"),
        new OutOfMemoryError("broken"),
        new StackOverflowError("broken"),
        new NoClassDefFoundError("broken"),
        new Error("broken"),
        new Throwable("broken"));
  }

  @ParameterizedTest
  @MethodSource("ordinaryFailures")
  void answersWhateverASamplerThrowsWithAnOrdinaryException(Throwable failure) {
    NativeSide agent = configured(COUNTS, (request, rows) -> throwAny(failure));

    HashMap<Integer, Object> answer = agent.sample("COUNTS");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat(body(answer).get(1)).isEqualTo("table COUNTS: " + failure);
  }

  @Test
  void survivesAFailureThatCannotEvenBeDescribed() {
    RuntimeException nasty =
        new RuntimeException() {
          private static final long serialVersionUID = 1L;

          @Override
          public String getMessage() {
            throw new IllegalStateException("no message either");
          }
        };
    NativeSide agent = configured(COUNTS, (request, rows) -> throwAny(nasty));

    HashMap<Integer, Object> answer = agent.sample("COUNTS");

    assertThat(body(answer).get(1)).isEqualTo("table COUNTS: " + nasty.getClass().getName());
  }

  @Test
  void servesTheNextSampleAfterAFailure() {
    int[] calls = new int[1];
    NativeSide agent =
        configured(
            COUNTS,
            (request, rows) -> {
              if (calls[0]++ == 0) {
                throw new IOException("broken");
              }
              rows.row();
            });

    assertThat(agent.sample("COUNTS").get(0)).isEqualTo(3);
    assertThat(rows(agent.sample("COUNTS"))).hasSize(1);
  }

  @Test
  void dropsRowsOfASampleThatFailed() {
    NativeSide agent =
        configured(
            COUNTS,
            (request, rows) -> {
              rows.row();
              throw new IOException("broken");
            });

    assertThat(body(agent.sample("COUNTS")).containsKey(4)).isFalse();
  }

  @Test
  void answersAFatalFailureWithSeverityOneAndServesNobodyAnyMore() {
    NativeSide agent =
        configured(
            COUNTS,
            (request, rows) -> {
              throw new FatalApplicationException("licence expired");
            });

    HashMap<Integer, Object> answer = agent.sample("COUNTS");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(1);
    assertThat((String) body(answer).get(1)).contains("licence expired");
    assertThat(body(agent.sample("COUNTS")).get(1))
        .isEqualTo("table COUNTS: the agent is stopping");
  }

  @ParameterizedTest
  @CsvSource({
    "8, unknown request code 8",
    "99, unknown request code 99",
    "-7, unknown request code -7"
  })
  void answersWhatNobodyServesWithAClearText(int code, String text) {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});

    HashMap<Integer, Object> answer = agent.request(code, sampleBody("COUNTS"));

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(answer.get(1)).isEqualTo(code);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat(body(answer).get(1)).isEqualTo(text);
  }

  @ParameterizedTest
  @ValueSource(ints = {2, 3, 5, 6})
  void answersRequestsThatComeBeforeTheApplicationIsConfigured(int code) {
    NativeSide agent = NativeSide.inline(declaring(it -> {}));

    HashMap<Integer, Object> answer = agent.request(code, sampleBody("COUNTS"));

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(1)).isEqualTo("the application is not configured");
  }

  @Test
  void answersASampleOfAnUndeclaredTable() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});

    assertThat(body(agent.sample("OTHER")).get(1)).isEqualTo("no table OTHER is declared");
  }

  @Test
  void answersASampleBeforeInit() {
    NativeSide agent = NativeSide.inline(declaring(it -> {}));

    assertThat(body(agent.sample("COUNTS")).get(1)).isEqualTo("the application is not configured");
  }

  @ParameterizedTest
  @ValueSource(ints = {0, 1, 5, 6, 7, 8})
  void answersASampleRequestThatLacksAKey(int key) {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    HashMap<Integer, Object> body = sampleBody("COUNTS");
    body.remove(key);

    HashMap<Integer, Object> answer = agent.request(2, body);

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat((String) body(answer).get(1)).contains("key " + key).contains("got nothing");
  }

  @Test
  void answersARequestWithoutABody() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});

    assertThat((String) body(agent.request(2, null)).get(1)).contains("expected a map");
  }

  @Test
  void answersASampleWithElementsOfAnotherKind() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    HashMap<Integer, Object> subnodes = sampleBody("COUNTS");
    subnodes.put(5, list(1));
    HashMap<Integer, Object> filters = sampleBody("COUNTS");
    filters.put(1, list("N = 7"));

    assertThat(agent.request(2, subnodes).get(0)).isEqualTo(3);
    assertThat(agent.request(2, filters).get(0)).isEqualTo(3);
  }

  @Test
  void answersAMessageWithAHandleWhateverElseIsWrong() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    HashMap<Integer, Object> noId = NativeSide.message(0, 0, null, 7L);
    noId.remove(1);
    HashMap<Integer, Object> noType = NativeSide.message(0, 2, sampleBody("COUNTS"), 8L);
    noType.remove(0);
    HashMap<Integer, Object> oddType = NativeSide.message(9, 2, sampleBody("COUNTS"), 9L);

    agent.deliver(noId);
    agent.deliver(noType);
    agent.deliver(oddType);

    for (long handle = 7; handle <= 9; handle++) {
      assertThat(agent.transport.answersTo(handle)).hasSize(1);
      HashMap<Integer, Object> answer = agent.transport.answersTo(handle).get(0);
      assertThat(answer.get(0)).isEqualTo(3);
      assertThat(answer.get(1)).isInstanceOf(Integer.class);
      assertThat(body(answer).get(0)).isEqualTo(3);
    }
  }

  static Stream<Object> junk() {
    HashMap<Integer, Object> noHandle = NativeSide.message(0, 2, sampleBody("COUNTS"), null);
    HashMap<Integer, Object> intHandle = NativeSide.message(0, 2, sampleBody("COUNTS"), null);
    intHandle.put(4, 7);
    return Stream.of(
        "text",
        new ArrayList<Object>(),
        new HashMap<Integer, Object>(),
        noHandle,
        intHandle,
        NativeSide.message(1, 2, new HashMap<>(), 7L),
        NativeSide.message(3, 2, new HashMap<>(), 7L),
        NativeSide.message(2, 99, null, null));
  }

  @ParameterizedTest
  @MethodSource("junk")
  void sendsNothingWhereNobodyWaitsAndLogsWhy(Object message) {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    int before = agent.transport.sent().size();

    agent.deliver(message);

    assertThat(agent.transport.sent()).hasSize(before);
    assertThat(agent.trace.messages()).isNotEmpty();
  }

  @Test
  void logsANullMessage() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});

    agent.deliver(null);

    assertThat(agent.trace.messages()).hasSize(1);
  }

  @Test
  void throwsNothingWhenTheTransportFails() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    agent.transport.failWith(new IllegalStateException("wire cut"));

    agent.sample("COUNTS");

    assertThat(agent.trace.messages().toString()).contains("wire cut");
  }

  @Test
  void notesAChangeOfASituationAsADetail() {
    NativeSide agent = configured(COUNTS, (request, rows) -> {});
    int before = agent.transport.sent().size();
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, "Too_Many");
    body.put(1, "COUNTS");
    body.put(2, 1);
    body.put(3, 60);
    body.put(4, false);
    body.put(5, false);

    agent.oneWay(7, body);

    assertThat(agent.transport.sent()).hasSize(before);
    assertThat(agent.trace.messages())
        .containsExactly("Situation Too_Many on table COUNTS started");
    assertThat(agent.trace.entries().get(0).classes()).isEqualTo(0x01);
  }

  @Test
  void sendsOnlyTheKindsOfObjectThatTheBridgeConverts() {
    NativeSide agent = configured(NODES, (request, rows) -> rows.row().set(1, 3));
    agent.start();
    agent.sample("NODES", "earth");
    agent.sample("NODES");
    agent.request(3, null);
    agent.request(4, null);

    assertThat(agent.transport.sent()).hasSize(5);
    agent.transport.sent().forEach(RequestsTest::assertConvertible);
  }

  private static void assertConvertible(Object value) {
    assertThat(value.getClass())
        .isIn(
            HashMap.class,
            ArrayList.class,
            Integer.class,
            Long.class,
            Boolean.class,
            String.class,
            byte[].class);
    if (value instanceof HashMap) {
      ((HashMap<?, ?>) value)
          .forEach(
              (key, element) -> {
                assertThat(key).isInstanceOf(Integer.class);
                assertConvertible(element);
              });
    } else if (value instanceof ArrayList) {
      ((ArrayList<?>) value).forEach(RequestsTest::assertConvertible);
    }
  }

  private static NativeSide configured(TableDefinition table, Sampler sampler) {
    NativeSide agent = NativeSide.inline(declaring(it -> it.table(table, sampler)));
    assertThat(agent.init().get(0)).isEqualTo(1);
    return agent;
  }

  private static HashMap<Integer, Object> column(String name, int type, int size, int offset) {
    HashMap<Integer, Object> column = new HashMap<>();
    column.put(10, name);
    column.put(11, type);
    column.put(12, size);
    column.put(13, offset);
    return column;
  }

  private static ArrayList<Object> list(Object... elements) {
    return new ArrayList<>(Arrays.asList(elements));
  }

  @SuppressWarnings("unchecked")
  private static <T extends Throwable> void throwAny(Throwable failure) throws T {
    throw (T) failure;
  }
}
