package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.monitored.LongWork;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetException;
import com.qrv.norvel.monitoring.jmx.monitored.TargetLookup;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import com.qrv.norvel.monitoring.toolkit.agent.ActionHandler;
import com.qrv.norvel.monitoring.toolkit.agent.ActionRequest;
import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import java.util.concurrent.atomic.AtomicLong;

/** The actions of this application: those that every JVM can do, and those of the configuration. */
public final class TargetActions {
  private static final String HELP = "help";

  /** The words that a configured action can't have. */
  public static final Set<String> RESERVED = Set.of(CollectGarbage.WORD, HeapHistogram.WORD, HELP);

  /**
   * How long an action may take, where a call may not take longer. The agent waits 30 seconds
   * unless it is configured otherwise; a target that gives up before that has a better reason to
   * tell.
   */
  public static final long MAX_MILLIS = 28_000;

  /** The target is down, does not answer, or is unknown. */
  static final int UNREACHABLE = 3;

  private final TargetLookup targets;
  private final List<TargetAction> actions = new ArrayList<>();
  private final AtomicLong runs = new AtomicLong();

  public TargetActions(TargetLookup targets, List<Operation> configured) {
    this.targets = targets;
    actions.add(new CollectGarbage());
    actions.add(new HeapHistogram());
    for (Operation operation : configured) {
      actions.add(new OperationAction(operation));
    }
  }

  /** @param deadlineMillis how long an action may take */
  public void register(Agent agent, long deadlineMillis) {
    for (TargetAction action : actions) {
      agent.action(action.word(), deadlineMillis, new Handler(action));
    }
    agent.action(HELP, new Handler(null));
  }

  /** A class with a name: the first lambda of a process costs its start too much. */
  private final class Handler implements ActionHandler {
    private final TargetAction action; // null: gives help

    Handler(TargetAction action) {
      this.action = action;
    }

    @Override
    public ActionResult run(ActionRequest request) throws InterruptedException {
      return action == null ? ActionResult.ok(help()) : TargetActions.this.run(action, request);
    }
  }

  private ActionResult run(TargetAction action, ActionRequest request)
      throws InterruptedException {
    String name = request.node().isEmpty() ? SelfJvm.NAME : request.node();
    MonitoredJvm target = targets.find(name);
    if (target == null) {
      return ActionResult.failed(UNREACHABLE, "there is no target " + name);
    }
    TargetWork<String> work;
    try {
      work = action.work(request.arguments());
    } catch (IllegalArgumentException e) {
      return ActionResult.failed(
          ActionResult.MALFORMED, e.getMessage() + "; usage: " + action.usage());
    }
    try {
      // A number of its own: two equal commands are run twice.
      String key = action.word() + " #" + runs.incrementAndGet();
      return ActionResult.ok(target.work(key, new LongWork<>(work, MAX_MILLIS)));
    } catch (TargetException e) {
      return ActionResult.failed(code(e.outcome()), e.getMessage());
    }
  }

  private static int code(TargetException.Outcome outcome) {
    return switch (outcome) {
      case NOT_DONE -> UNREACHABLE;
      case REFUSED -> ActionResult.FAILED;
      case UNKNOWN -> ActionResult.TIMED_OUT;
    };
  }

  private String help() {
    StringBuilder help = new StringBuilder();
    for (TargetAction action : actions) {
      help.append(help.isEmpty() ? "" : "\n").append(action.usage());
      if (!action.description().isEmpty()) {
        help.append("  ").append(action.description());
      }
    }
    return help.toString();
  }
}
