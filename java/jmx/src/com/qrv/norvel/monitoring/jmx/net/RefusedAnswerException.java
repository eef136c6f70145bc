package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;

/** An answer was given up before any object was made of it; the message says why. */
public final class RefusedAnswerException extends IOException {
  private static final long serialVersionUID = 1L;

  RefusedAnswerException(String message) {
    super(message);
  }
}
