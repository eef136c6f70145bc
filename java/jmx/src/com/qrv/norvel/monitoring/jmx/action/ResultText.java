package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.table.ValueText;

/** Shows what an operation gave. */
final class ResultText {
  private static final int MAX_LENGTH = 8192;

  private ResultText() {}

  /** The value as text, at most some thousand characters, without control characters. */
  static String of(Object value) {
    return value == null ? "done" : ValueText.of(value, MAX_LENGTH);
  }
}
