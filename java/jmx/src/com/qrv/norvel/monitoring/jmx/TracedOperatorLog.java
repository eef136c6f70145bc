package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;

/** Sends the application's events into the agent's trace. */
final class TracedOperatorLog implements OperatorLog {
  private final AgentLog trace;

  TracedOperatorLog(AgentLog trace) {
    this.trace = trace;
  }

  @Override
  public void info(String text) {
    trace.state(text);
  }

  @Override
  public void error(String text) {
    trace.error(text);
  }
}
