package com.qrv.norvel.monitoring.toolkit.bridge;

/** What the native side asks for: the ids of the messages that it sends. */
public final class RequestCode {
  public static final int INIT = 0;

  /** One way. */
  public static final int START = 1;

  public static final int TAKE_SAMPLE = 2;
  public static final int TAKE_ACTION = 3;
  public static final int SHUTDOWN = 4;
  public static final int WEB_SERVICE = 5;
  public static final int SITUATION = 6;

  /** One way. */
  public static final int SITUATION_STATE_CHANGED = 7;

  private RequestCode() {}
}
