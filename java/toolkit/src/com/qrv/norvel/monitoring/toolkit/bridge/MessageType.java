package com.qrv.norvel.monitoring.toolkit.bridge;

/** The types of message that an envelope carries. */
public final class MessageType {
  /** Expects an answer. */
  public static final int REQUEST = 0;

  /** The normal answer to a request. */
  public static final int REPLY = 1;

  /** One way; carries no requester handle. */
  public static final int NOTIFICATION = 2;

  /** The answer to a request that failed. */
  public static final int EXCEPTION = 3;

  private MessageType() {}
}
