package com.qrv.norvel.monitoring.toolkit.bridge;

import java.util.HashMap;

/** Does what the native side asks for. */
public interface RequestHandler {

  /**
   * Serves one request on the thread that brought it.
   *
   * @param code one of {@link RequestCode}, or a number that nobody knows
   * @param body the request's body, which may be null
   * @return the body of the reply; it belongs to the caller
   * @throws RequestFailedException to answer with an exception of a chosen severity
   * @throws Exception to answer with an ordinary exception; an {@link Error} does the same
   */
  HashMap<Integer, Object> handle(int code, Object body) throws Exception;
}
