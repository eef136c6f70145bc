package com.qrv.norvel.monitoring.toolkit.bridge;

/** A message from the native side lacks something or holds another kind of value. */
public final class MalformedMessageException extends Exception {
  private static final long serialVersionUID = 1L;

  MalformedMessageException(String message) {
    super(message);
  }
}
