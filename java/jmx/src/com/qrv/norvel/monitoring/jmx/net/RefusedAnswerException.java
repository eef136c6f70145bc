package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;

/** An answer was given up before anything was made of it. The message says what is wrong with it. */
public final class RefusedAnswerException extends IOException {
  private static final long serialVersionUID = 1L;

  RefusedAnswerException(String message) {
    super(message);
  }
}
