package com.qrv.norvel.monitoring.toolkit.bridge;

import java.util.HashMap;

/** Makes the messages that Java sends. Each carries a body, an empty one too. */
public final class Envelope {
  /** Ends the agent when an exception carries it. */
  public static final int SEVERITY_CRITICAL = 1;

  /** Costs the one request. */
  public static final int SEVERITY_ORDINARY = 3;

  private Envelope() {}

  static HashMap<Integer, Object> reply(int id, Long handle, HashMap<Integer, Object> body) {
    return answer(MessageType.REPLY, id, handle, body);
  }

  static HashMap<Integer, Object> exception(int id, Long handle, int severity, String message) {
    HashMap<Integer, Object> body = new HashMap<Integer, Object>();
    body.put(Keys.Failure.SEVERITY, Integer.valueOf(severity));
    body.put(Keys.Failure.MESSAGE, message);
    return answer(MessageType.EXCEPTION, id, handle, body);
  }

  public static HashMap<Integer, Object> notification(int id, HashMap<Integer, Object> body) {
    return envelope(MessageType.NOTIFICATION, id, body);
  }

  private static HashMap<Integer, Object> answer(
      int type, int id, Long handle, HashMap<Integer, Object> body) {
    HashMap<Integer, Object> envelope = envelope(type, id, body);
    envelope.put(Keys.Envelope.HANDLE, handle);
    return envelope;
  }

  private static HashMap<Integer, Object> envelope(
      int type, int id, HashMap<Integer, Object> body) {
    HashMap<Integer, Object> envelope = new HashMap<Integer, Object>();
    envelope.put(Keys.Envelope.TYPE, Integer.valueOf(type));
    envelope.put(Keys.Envelope.ID, Integer.valueOf(id));
    envelope.put(Keys.Envelope.BODY, body);
    return envelope;
  }
}
