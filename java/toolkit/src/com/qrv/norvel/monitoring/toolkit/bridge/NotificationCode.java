package com.qrv.norvel.monitoring.toolkit.bridge;

/** What Java tells the native side unasked: the ids of its notifications. */
public final class NotificationCode {
  public static final int SUBNODE_REGISTERED = 10;
  public static final int SUBNODE_DEREGISTERED = 11;

  /** Rows of an event table; without rows, it only wakes the native side. */
  public static final int EVENTS = 13;

  // 14 and 15, a subnode's connection gained and lost, have no subscriber on the native side.

  public static final int SHUTDOWN = 16;

  private NotificationCode() {}
}
