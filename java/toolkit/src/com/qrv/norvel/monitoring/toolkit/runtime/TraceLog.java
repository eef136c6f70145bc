package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;
import com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers.RAS1Wrapper;

/** A log in the name of one class. */
final class TraceLog implements AgentLog {
  private final TraceSink sink;
  private final String component;
  private final String className;
  private final String sourceFile;

  TraceLog(TraceSink sink, String component, Class<?> source) {
    this.sink = sink;
    this.component = component;
    className = source.getName();
    sourceFile = sourceFileOf(className);
  }

  @Override
  public void error(String message) {
    write(RAS1Wrapper.ERROR, "ERROR: ", message);
  }

  @Override
  public void error(String message, Throwable cause) {
    write(RAS1Wrapper.ERROR, "ERROR: ", message, "\n", Failures.trace(cause));
  }

  @Override
  public void warning(String message) {
    write(RAS1Wrapper.ERROR, "WARN: ", message);
  }

  @Override
  public void warning(String message, Throwable cause) {
    write(RAS1Wrapper.ERROR, "WARN: ", message, ": ", Failures.describe(cause));
  }

  @Override
  public void always(String message) {
    write(RAS1Wrapper.ALWAYS, message);
  }

  @Override
  public void state(String message) {
    write(RAS1Wrapper.STATE, message);
  }

  @Override
  public void flow(String message) {
    write(RAS1Wrapper.FLOW, message);
  }

  @Override
  public void detail(String message) {
    write(RAS1Wrapper.DETAIL, message);
  }

  /** Writes a text, whose parts are joined here since memory may be short for that too. */
  private void write(int classes, String... parts) {
    try {
      String function = Callers.functionIn(className);
      sink.write(classes, component, sourceFile, function, String.join("", parts));
    } catch (Throwable failure) {
      writeToStandardError(parts, failure);
    }
  }

  /** The last way: a log that fails must not cost the work that it tells of. */
  private void writeToStandardError(String[] parts, Throwable failure) {
    try {
      String text = String.join("", parts);
      System.err.println(component + " " + sourceFile + " " + text + " (" + failure + ")");
    } catch (Throwable second) {
      // Nothing is left to tell it with.
      return;
    }
  }

  private static String sourceFileOf(String className) {
    int begin = className.lastIndexOf('.') + 1;
    int end = className.indexOf('$', begin);
    return className.substring(begin, end < 0 ? className.length() : end) + ".java";
  }
}
