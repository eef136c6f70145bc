package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.concurrent.Executor;

/** Tells one handler of situations, in their order, on a thread of the toolkit. */
final class SituationTeller implements SituationWatch.Listener {
  private final SituationHandler handler;
  private final SerialExecutor turns;
  private final BoundedCalls calls;
  private final BoundedCalls.FatalListener fatalListener;
  private final AgentLog log;

  SituationTeller(
      SituationHandler handler,
      Executor threads,
      BoundedCalls calls,
      BoundedCalls.FatalListener fatalListener,
      AgentLog log) {
    this.handler = handler;
    this.calls = calls;
    this.fatalListener = fatalListener;
    this.log = log;
    turns = new SerialExecutor(threads);
  }

  @Override
  public SituationCall armed(Situation situation) {
    return post(new SituationCall(handler, situation, true, log, fatalListener));
  }

  @Override
  public void disarmed(Situation situation) {
    post(new SituationCall(handler, situation, false, log, fatalListener));
  }

  /**
   * Waits until a call has ended.
   *
   * @throws RequestFailedException when it failed or does not end in time
   */
  void await(SituationCall call, long deadlineMs) throws RequestFailedException {
    if (call.failure() != null) {
      throw failed(call);
    }
    try {
      // Runs after the call, since it takes its turn; so it need do nothing itself.
      calls.callLimited(
          turns, call.title(), SerialExecutor.MAX_WAITING, deadlineMs, new EndOfTurn());
    } catch (RequestFailedException failure) {
      turns.interrupt();
      throw failure;
    }
    if (call.failure() != null) {
      throw failed(call);
    }
  }

  private static RequestFailedException failed(SituationCall call) {
    return RequestFailedException.ordinary(call.title() + ": " + call.failure());
  }

  private SituationCall post(SituationCall call) {
    try {
      turns.execute(call);
    } catch (Throwable failure) {
      call.refused(Failures.describe(failure));
    }
    return call;
  }

  private static final class EndOfTurn implements Task {
    @Override
    public void run() {
      // Its turn is all that matters.
    }
  }
}
