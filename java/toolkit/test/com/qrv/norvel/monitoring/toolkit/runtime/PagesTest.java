package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.MediaType;
import com.qrv.norvel.monitoring.toolkit.agent.WebHandler;
import com.qrv.norvel.monitoring.toolkit.agent.WebRequest;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.Semaphore;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Web requests to the application. */
class PagesTest {
  private WebRequest seen;
  private final Semaphore entered = new Semaphore(0);
  private final CountDownLatch release = new CountDownLatch(1);

  @AfterEach
  void releaseTheStuckHandlers() {
    release.countDown();
  }

  private static NativeSide inline(String prefix, WebHandler handler) {
    NativeSide side = NativeSide.inline(declaring(it -> it.web(prefix, handler)));
    side.init();
    return side;
  }

  private static HashMap<Integer, Object> webBody(String path) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, path);
    body.put(1, "name=a+b&state=%C3%BCp");
    body.put(2, "de,en;q=0.5");
    return body;
  }

  private static HashMap<Integer, Object> get(NativeSide side, String path) {
    return side.request(5, webBody(path));
  }

  private static String content(HashMap<Integer, Object> answer) {
    return new String((byte[]) body(answer).get(9), StandardCharsets.UTF_8);
  }

  @Test
  void answersWithCodeMediaTypeAndContent() {
    HashMap<Integer, Object> answer =
        get(
            inline("/", request -> WebResponse.of(201, MediaType.SVG, "<svg>\u00e4</svg>")),
            "/picture");

    assertThat(answer.get(0)).isEqualTo(1);
    assertThat(body(answer)).hasSize(3);
    assertThat(body(answer).get(7)).isEqualTo(201);
    assertThat(body(answer).get(8)).isEqualTo(9);
    assertThat(content(answer)).isEqualTo("<svg>\u00e4</svg>");
  }

  @Test
  void handsTheWholeRequestToTheHandler() {
    get(
        inline(
            "/targets",
            request -> {
              seen = request;
              return WebResponse.text("");
            }),
        "/targets/4711");

    assertThat(seen.path()).isEqualTo("/targets/4711");
    assertThat(seen.pathBelow()).isEqualTo("/4711");
    assertThat(seen.content()).isEqualTo("name=a+b&state=%C3%BCp");
    assertThat(seen.parameters().get("name")).isEqualTo("a b");
    assertThat(seen.parameters().get("state")).isEqualTo("\u00fcp");
    assertThat(seen.language(List.of("en", "de"))).isEqualTo("de");
  }

  @ParameterizedTest
  @CsvSource({
    "/, root",
    "/other, root",
    "/targets, targets",
    "/targets/, targets",
    "/targets/7, targets",
    "/targetsx, root",
    "/targets/log, log",
    "/targets/log/1, log"
  })
  void letsTheMostSpecificPageAnswer(String path, String page) {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  it.web("/targets", request -> WebResponse.text("targets"));
                  it.web("/", request -> WebResponse.text("root"));
                  it.web("/targets/log", request -> WebResponse.text("log"));
                }));
    side.init();

    assertThat(content(get(side, path))).isEqualTo(page);
  }

  @Test
  void showsThatAPageIsNotFoundWithoutTrustingItsName() {
    HashMap<Integer, Object> answer =
        get(inline("/targets", request -> WebResponse.text("")), "/<script>");

    assertThat(body(answer).get(7)).isEqualTo(404);
    assertThat(body(answer).get(8)).isEqualTo(MediaType.HTML.number());
    assertThat(content(answer)).contains("has no page /&lt;script&gt;").doesNotContain("<script");
  }

  @Test
  void failsTheRequestWhenTheHandlerFails() {
    NativeSide side =
        inline(
            "/",
            request -> {
              throw new IllegalStateException("broken");
            });

    HashMap<Integer, Object> answer = get(side, "/");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(3);
    assertThat((String) body(answer).get(1)).startsWith("page /: ").endsWith("broken");
    assertThat(side.trace.messages().get(0)).contains("page / failed");
  }

  @Test
  void failsTheRequestWhenTheHandlerReturnsNothing() {
    assertThat((String) body(get(inline("/", request -> null), "/")).get(1))
        .endsWith("the handler has returned no response");
  }

  @ParameterizedTest
  @ValueSource(strings = {"", "targets", "/targets/", "//", "/a//b"})
  void refusesWhatIsNoPrefix(String prefix) {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it ->
                    assertThatIllegalArgumentException()
                        .isThrownBy(() -> it.web(prefix, request -> null))));

    assertThat(side.init().get(0)).isEqualTo(1);
  }

  @Test
  void refusesAPageThatIsTaken() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  it.web("/a", request -> null);
                  assertThatIllegalArgumentException()
                      .isThrownBy(() -> it.web("/a", request -> null))
                      .withMessage("page /a is registered twice");
                }));

    assertThat(side.init().get(0)).isEqualTo(1);
  }

  private NativeSide stuck() {
    NativeSide side =
        NativeSide.of(
            declaring(
                it -> {
                  it.web(
                      "/stuck",
                      2000,
                      request -> {
                        entered.release();
                        release.await();
                        return WebResponse.text("late");
                      });
                  it.web("/deaf", 2000, request -> deaf());
                  it.web("/", request -> WebResponse.text("well"));
                }));
    side.init();
    return side;
  }

  @Test
  void failsAStuckPageAtItsDeadlineAndServesTheOthers() throws Exception {
    NativeSide side = stuck();
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(5, webBody("/stuck"));
    entered.acquire();
    assertThat(content(get(side, "/"))).isEqualTo("well");

    side.clock.advanceMs(2000);

    assertThat(soon(answer).get(0)).isEqualTo(3);
    assertThat(body(soon(answer)).get(1)).isEqualTo("page /stuck: not done within 2000 ms");
  }

  /** Goes on for good, whoever interrupts it. */
  private WebResponse deaf() {
    entered.release();
    while (true) {
      try {
        release.await();
        return WebResponse.text("late");
      } catch (InterruptedException interrupt) {
        continue;
      }
    }
  }

  private List<CompletableFuture<HashMap<Integer, Object>>> occupy(NativeSide side, String path)
      throws InterruptedException {
    List<CompletableFuture<HashMap<Integer, Object>>> answers = new ArrayList<>();
    for (int i = 0; i < Agent.MAX_CALLS; i++) {
      answers.add(side.later(5, webBody(path)));
    }
    entered.acquire(Agent.MAX_CALLS);
    return answers;
  }

  @Test
  void letsARequestWaitForItsTurn() throws Exception {
    NativeSide side = stuck();
    occupy(side, "/stuck");
    side.clock.advanceMs(1000);
    CompletableFuture<HashMap<Integer, Object>> next = side.later(5, webBody("/stuck"));
    side.clock.awaitRounds(20);
    assertThat(next).isNotDone();
    assertThat(entered.availablePermits()).isZero();

    release.countDown();

    assertThat(content(soon(next))).isEqualTo("late");
  }

  @Test
  void refusesARequestWhoseTurnMayNeverCome() throws Exception {
    NativeSide side = stuck();
    List<CompletableFuture<HashMap<Integer, Object>>> answers = occupy(side, "/deaf");
    side.clock.advanceMs(1000);
    CompletableFuture<HashMap<Integer, Object>> next = side.later(5, webBody("/deaf"));
    side.clock.awaitRounds(20);

    side.clock.advanceMs(1000); // the time of those that run, not of the one that waits

    assertThat(body(soon(next)).get(1)).isEqualTo("page /deaf: 4 of its calls are still running");
    for (CompletableFuture<HashMap<Integer, Object>> answer : answers) {
      assertThat(body(soon(answer)).get(1)).isEqualTo("page /deaf: not done within 2000 ms");
    }
    assertThat(body(get(side, "/deaf")).get(1))
        .isEqualTo("page /deaf: 4 of its calls are still running");
  }

  @ParameterizedTest
  @ValueSource(ints = {1, Agent.MAX_CALLS + 1})
  void answersRequestsThatWaitWhenShutdownComes(int count) throws Exception {
    NativeSide side = stuck();
    List<CompletableFuture<HashMap<Integer, Object>>> answers = new ArrayList<>();
    for (int i = 0; i < count; i++) {
      answers.add(side.later(5, webBody("/stuck")));
    }
    entered.acquire(Math.min(count, Agent.MAX_CALLS));

    side.request(4, null);
    CompletableFuture<HashMap<Integer, Object>> answer = answers.get(count - 1);

    assertThat(body(soon(answer)).get(1)).isEqualTo("page /stuck: the agent is stopping");
  }
}
