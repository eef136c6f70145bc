package com.qrv.norvel.monitoring.toolkit.bridge;

import java.util.HashMap;

/** The way of a message from Java to the native side. */
public interface Transport {

  /**
   * Hands over a message made of maps, lists, integers, booleans, strings and byte arrays.
   *
   * <p>An answer must be sent by the thread that brought the request, before it goes back: the
   * requester waits in that call and nowhere else. A notification may come from any thread.
   */
  void send(HashMap<Integer, Object> envelope);
}
