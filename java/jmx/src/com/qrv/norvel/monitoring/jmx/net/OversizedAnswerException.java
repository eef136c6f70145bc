package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;

/** An answer was given up because the memory of this process is not made for it. */
public final class OversizedAnswerException extends IOException {
  private static final long serialVersionUID = 1L;

  OversizedAnswerException(long maxBytes) {
    super("the answer has more than " + maxBytes + " bytes");
  }
}
