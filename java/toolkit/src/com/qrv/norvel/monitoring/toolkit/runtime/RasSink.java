package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers.RAS1Wrapper;

/** The agent's trace. */
final class RasSink implements TraceSink {

  @Override
  public void write(
      int classes, String component, String sourceFile, String function, String message) {
    RAS1Wrapper.write(classes, component, sourceFile, function, message);
  }
}
