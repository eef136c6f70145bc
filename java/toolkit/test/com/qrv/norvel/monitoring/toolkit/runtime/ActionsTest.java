package com.qrv.norvel.monitoring.toolkit.runtime;

import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.body;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.declaring;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.rows;
import static com.qrv.norvel.monitoring.toolkit.runtime.NativeSide.soon;
import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.agent.ActionHandler;
import com.qrv.norvel.monitoring.toolkit.agent.ActionRequest;
import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.io.IOException;
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

/** Commands that somebody runs. */
class ActionsTest {
  private static final TableDefinition COUNTS =
      TableDefinition.builder("COUNTS").column(Columns.int32("N")).build();

  private ActionRequest seen;
  private Agent agent;
  private final Semaphore entered = new Semaphore(0);
  private final CountDownLatch release = new CountDownLatch(1);

  private final ActionHandler keeping =
      request -> {
        seen = request;
        return ActionResult.ok("done");
      };

  private final ActionHandler stuck =
      request -> {
        entered.release();
        release.await();
        return ActionResult.ok("late");
      };

  @AfterEach
  void releaseTheStuckHandlers() {
    release.countDown();
  }

  private NativeSide inline(ActionHandler handler) {
    NativeSide side = NativeSide.inline(declaring(it -> it.action("restart", handler)));
    side.init();
    return side;
  }

  private static HashMap<Integer, Object> actionBody(String node, String command) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, node);
    body.put(1, command);
    return body;
  }

  private static HashMap<Integer, Object> run(NativeSide side, String command) {
    return side.request(3, actionBody("", command));
  }

  private static void assertResult(HashMap<Integer, Object> answer, int code, String message) {
    assertThat(answer.get(0)).isEqualTo(1);
    assertThat(body(answer)).hasSize(2);
    assertThat(body(answer).get(2)).isEqualTo(code);
    assertThat(body(answer).get(3)).isEqualTo(message);
  }

  @Test
  void handsNodeAndArgumentsToTheHandlerOfTheFirstWord() {
    NativeSide side = inline(keeping);

    HashMap<Integer, Object> answer =
        side.request(3, actionBody("earth" + " ".repeat(27), " restart \"my app\" 7"));

    assertResult(answer, 0, "done");
    assertThat(seen)
        .isEqualTo(
            new ActionRequest(
                "earth", "restart", List.of("my app", "7"), " restart \"my app\" 7"));
  }

  @Test
  void answersWithTheResultOfAHandlerThatFails() {
    assertResult(
        run(inline(request -> ActionResult.failed(9, "no such app")), "restart"),
        9,
        "no such app");
  }

  @Test
  void answersWithTheMessageOfAnExceptionAndLogsIt() {
    NativeSide side =
        inline(
            request -> {
              throw new IOException("connection refused");
            });

    assertResult(run(side, "restart"), 1, "connection refused");
    assertThat(side.trace.messages().get(0)).contains("action restart failed");
  }

  @Test
  void answersWithTheClassOfAnErrorThatHasNoMessage() {
    NativeSide side =
        inline(
            request -> {
              throw new StackOverflowError();
            });

    assertResult(run(side, "restart"), 1, "java.lang.StackOverflowError");
  }

  @Test
  void answersForAHandlerThatReturnsNothing() {
    assertResult(
        run(inline(request -> null), "restart"), 1, "action restart has returned no result");
  }

  @Test
  void endsTheAgentWhenAHandlerCannotGoOn() {
    HashMap<Integer, Object> answer =
        run(
            inline(
                request -> {
                  throw new FatalApplicationException("licence expired");
                }),
            "restart");

    assertThat(answer.get(0)).isEqualTo(3);
    assertThat(body(answer).get(0)).isEqualTo(1);
  }

  @Test
  void namesTheKnownActionsForAnUnknownOneTheNearestFirst() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  it.action("gc", keeping);
                  it.action("dump", keeping);
                  it.action("restart", keeping);
                }));
    side.init();

    assertResult(
        run(side, "retsart now"), 127, "no action 'retsart'; there are: restart, dump, gc");
    assertResult(run(side, "  "), 127, "the command is empty; there are: gc, dump, restart");
  }

  @Test
  void saysThatThereAreNone() {
    NativeSide side = NativeSide.inline(declaring(it -> {}));
    side.init();

    assertResult(run(side, "restart"), 127, "no action 'restart'; the application has none");
  }

  @Test
  void namesThePlaceWhereACommandCannotBeRead() {
    assertResult(
        run(inline(keeping), "restart \"my app"),
        2,
        "character 9: the quote that begins here has no end");
  }

  @ParameterizedTest
  @CsvSource(
      delimiter = ';',
      ignoreLeadingAndTrailingWhitespace = false,
      quoteCharacter = '\0',
      value = {
        "a b;a|b",
        "  a\tb  ;a|b",
        "a \"b c\" d;a|b c|d",
        "a\"b c\"d;ab cd",
        "a \"\";a|",
        "a \"say \\\"b\\\" \\\\\";a|say \"b\" \\",
        "a b\\c;a|b\\c",
        "a \u00e4 \u4e2d;a|\u00e4|\u4e2d",
      })
  void splitsACommandIntoWords(String command, String words) {
    assertThat(String.join("|", Words.of(command))).isEqualTo(words);
  }

  @Test
  void refusesABackslashAtTheEnd() {
    assertThatIllegalArgumentException()
        .isThrownBy(() -> Words.of("a \"b\\"))
        .withMessage("character 5: nothing follows the backslash");
  }

  @Test
  void cutsALongMessageBetweenTwoCharacters() {
    String text = "x".repeat(ActionResult.MAX_MESSAGE - 1) + "\ud83d\ude00";

    assertResult(
        run(inline(request -> ActionResult.ok(text)), "restart"),
        0,
        "x".repeat(ActionResult.MAX_MESSAGE - 1));
  }

  @Test
  void refusesWhatIsNoActionOrTaken() {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it -> {
                  agent = it;
                  it.action("a", keeping);
                  assertThatIllegalArgumentException()
                      .isThrownBy(() -> it.action("a", keeping))
                      .withMessage("action a is registered twice");
                  assertThatIllegalArgumentException().isThrownBy(() -> it.action("b", null));
                  assertThatIllegalArgumentException().isThrownBy(() -> it.action("b", 0, keeping));
                }));

    assertThat(side.init().get(0)).isEqualTo(1);
    assertThatIllegalStateException().isThrownBy(() -> agent.action("late", keeping));
  }

  @ParameterizedTest
  @ValueSource(strings = {"", "two words", "a\"b", "\u00e4"})
  void refusesWordsThatNobodyCouldType(String word) {
    NativeSide side =
        NativeSide.inline(
            declaring(
                it ->
                    assertThatIllegalArgumentException()
                        .isThrownBy(() -> it.action(word, keeping))));

    assertThat(side.init().get(0)).isEqualTo(1);
  }

  private NativeSide threaded() {
    NativeSide side =
        NativeSide.of(
            declaring(
                it -> {
                  it.action("stuck", 2000, stuck);
                  it.action("restart", keeping);
                  it.table(COUNTS, (request, rows) -> rows.row());
                }));
    side.init();
    return side;
  }

  @Test
  void answersAStuckActionAtItsDeadline() throws Exception {
    NativeSide side = threaded();
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(3, actionBody("", "stuck"));
    entered.acquire();
    side.clock.advanceMs(1999);
    assertResult(run(side, "restart"), 0, "done");
    assertThat(answer).isNotDone();

    side.clock.advanceMs(1);

    assertResult(soon(answer), 124, "action stuck: not done within 2000 ms");
  }

  @Test
  void keepsStuckActionsFromAllOthers() throws Exception {
    NativeSide side = threaded();
    List<CompletableFuture<HashMap<Integer, Object>>> answers = new ArrayList<>();
    for (int i = 0; i < Agent.MAX_CALLS; i++) {
      answers.add(side.later(3, actionBody("", "stuck")));
    }
    entered.acquire(Agent.MAX_CALLS);

    assertResult(run(side, "stuck"), 126, "action stuck: 4 of its calls are still running");
    assertResult(run(side, "restart"), 0, "done");
    assertThat(rows(side.sample("COUNTS"))).hasSize(1);

    release.countDown();
    for (CompletableFuture<HashMap<Integer, Object>> answer : answers) {
      assertResult(soon(answer), 0, "late");
    }
    assertResult(run(side, "stuck"), 0, "late");
  }

  @Test
  void answersActionsThatWaitWhenShutdownComes() throws Exception {
    NativeSide side = threaded();
    CompletableFuture<HashMap<Integer, Object>> answer = side.later(3, actionBody("", "stuck"));
    entered.acquire();

    side.request(4, null);

    assertResult(soon(answer), 126, "action stuck: the agent is stopping");
    assertResult(run(side, "restart"), 126, "action restart: the agent is stopping");
  }
}
