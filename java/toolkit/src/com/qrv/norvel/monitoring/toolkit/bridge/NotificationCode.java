package com.qrv.norvel.monitoring.toolkit.bridge;

/** What Java tells the native side unasked: the ids of its notifications. */
public final class NotificationCode {
  public static final int SUBNODE_REGISTERED = 10;
  public static final int SUBNODE_DEREGISTERED = 11;
  public static final int SHUTDOWN = 16;

  private NotificationCode() {}
}
