package com.qrv.norvel.monitoring.jmx.attach;

import java.io.IOException;

/** A JVM did not open its socket although it was asked to; asking costs it a thread dump. */
public final class AttachRefusedException extends IOException {
  private static final long serialVersionUID = 1L;

  AttachRefusedException(String message) {
    super(message);
  }
}
