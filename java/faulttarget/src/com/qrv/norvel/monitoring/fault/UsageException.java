package com.qrv.norvel.monitoring.fault;

/** What the user asked for can't be understood; the message says what would be. */
final class UsageException extends Exception {
  private static final long serialVersionUID = 1L;

  UsageException(String message) {
    super(message);
  }
}
