package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.link.Link;

/** Something to do at a target, on the target's own thread. */
public interface TargetWork<T> {
  /**
   * Does it, in as few calls as it can: they share one time limit.
   *
   * @throws java.io.IOException when the connection broke; it is dropped
   * @throws Exception when the target refused; the connection is sound and the caller is told
   */
  T on(Link link) throws Exception;

  /** How long it may take; as long as any call, unless it says more. */
  default long limitMillis(long callMillis) {
    return callMillis;
  }
}
