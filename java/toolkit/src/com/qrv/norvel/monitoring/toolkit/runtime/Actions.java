package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.ActionHandler;
import com.qrv.norvel.monitoring.toolkit.agent.ActionRequest;
import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.Names;
import com.qrv.norvel.monitoring.toolkit.agent.Nearest;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.Executor;

/** The application's actions. Filled while the application is configured, constant from then on. */
final class Actions {
  private final BoundedCalls calls;
  private final Executor threads;
  private final AgentLog log;
  private final HashMap<String, Action> actions = new HashMap<String, Action>();

  Actions(BoundedCalls calls, Executor threads, AgentLog log) {
    this.calls = calls;
    this.threads = threads;
    this.log = log;
  }

  void add(String word, long deadlineMs, ActionHandler handler) {
    Names.checkedWord(word);
    Deadlines.check("action " + word, deadlineMs);
    if (handler == null) {
      throw new IllegalArgumentException("action " + word + " has no handler");
    }
    if (actions.containsKey(word)) {
      throw new IllegalArgumentException("action " + word + " is registered twice");
    }
    actions.put(word, new Action(deadlineMs, handler));
  }

  /** Runs a command, and answers with its return code and message. */
  HashMap<Integer, Object> serve(Fields body)
      throws RequestFailedException, MalformedMessageException {
    ActionResult result =
        run(Blanks.trimEnd(body.text(Keys.Action.NODE)), body.text(Keys.Action.COMMAND));
    HashMap<Integer, Object> reply = new HashMap<Integer, Object>();
    reply.put(Keys.ActionReply.CODE, Integer.valueOf(result.code()));
    reply.put(Keys.ActionReply.MESSAGE, result.message());
    return reply;
  }

  private ActionResult run(String node, String command) throws RequestFailedException {
    ArrayList<String> words;
    try {
      words = Words.of(command);
    } catch (IllegalArgumentException malformed) {
      return ActionResult.failed(ActionResult.MALFORMED, malformed.getMessage());
    }
    Action action = words.isEmpty() ? null : actions.get(words.get(0));
    if (action == null) {
      return unknown(words.isEmpty() ? "" : words.get(0));
    }
    ActionRequest request =
        new ActionRequest(node, words.get(0), words.subList(1, words.size()), command);
    Run run = new Run(action.handler, request);
    try {
      calls.callLimited(
          threads, "action " + request.word(), Agent.MAX_CALLS, action.deadlineMs, run);
    } catch (RequestFailedException failure) {
      if (failure.isCritical()) {
        throw failure;
      }
      int code = failure.isLate() ? ActionResult.TIMED_OUT : ActionResult.NOT_RUN;
      return ActionResult.failed(code, failure.getMessage());
    }
    return run.result;
  }

  private ActionResult unknown(String word) {
    List<String> known = Nearest.first(word, actions.keySet());
    StringBuilder text = new StringBuilder();
    if (word.isEmpty()) {
      text.append("the command is empty");
    } else {
      text.append("no action '").append(word).append("'");
    }
    for (int i = 0; i < known.size(); i++) {
      text.append(i == 0 ? "; there are: " : ", ").append(known.get(i));
    }
    if (known.isEmpty()) {
      text.append("; the application has none");
    }
    return ActionResult.failed(ActionResult.UNKNOWN, text.toString());
  }

  private static final class Action {
    final long deadlineMs;
    final ActionHandler handler;

    Action(long deadlineMs, ActionHandler handler) {
      this.deadlineMs = deadlineMs;
      this.handler = handler;
    }
  }

  private final class Run implements Task {
    private final ActionHandler handler;
    private final ActionRequest request;
    private volatile ActionResult result;

    Run(ActionHandler handler, ActionRequest request) {
      this.handler = handler;
      this.request = request;
    }

    @Override
    public void run() {
      try {
        ActionResult returned = handler.run(request);
        result =
            returned != null
                ? returned
                : ActionResult.failed(
                    ActionResult.FAILED, "action " + request.word() + " has returned no result");
      } catch (FatalApplicationException fatal) {
        throw fatal;
      } catch (Throwable failure) {
        log.error("action " + request.word() + " failed", failure);
        String message = Failures.message(failure);
        result = ActionResult.failed(ActionResult.FAILED, message);
      }
    }
  }
}
