package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;

/** Tells a handler of one situation. A failure is logged; a fatal one ends the agent. */
final class SituationCall implements Runnable {
  private final SituationHandler handler;
  private final Situation situation;
  private final boolean begins;
  private final AgentLog log;
  private final BoundedCalls.FatalListener fatalListener;
  private volatile String failure;

  SituationCall(
      SituationHandler handler,
      Situation situation,
      boolean begins,
      AgentLog log,
      BoundedCalls.FatalListener fatalListener) {
    this.handler = handler;
    this.situation = situation;
    this.begins = begins;
    this.log = log;
    this.fatalListener = fatalListener;
  }

  /** What went wrong, or null; once the call has ended. */
  String failure() {
    return failure;
  }

  /** The handler can't be told. */
  void refused(String reason) {
    failure = reason;
    log.error(title() + ": its handler is not told: " + reason);
  }

  /** Situation and table, for messages. */
  String title() {
    return "situation " + situation.name() + " on table " + situation.table();
  }

  @Override
  public void run() {
    try {
      if (begins) {
        handler.armed(situation);
      } else {
        handler.disarmed(situation);
      }
    } catch (FatalApplicationException fatal) {
      failure = Failures.describe(fatal);
      fatalListener.lateFatal(title() + ": " + failure);
    } catch (Throwable any) {
      failure = Failures.describe(any);
      log.error(title() + (begins ? " could not be armed" : " could not be disarmed"), any);
    }
  }
}
