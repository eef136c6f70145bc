package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.link.Link;

/**
 * Work that may take longer than a call. The samples of its target wait meanwhile.
 *
 * @param work what is done
 * @param limitMillis how long it may take, when a call may not take as long
 */
public record LongWork<T>(TargetWork<T> work, long limitMillis) implements TargetWork<T> {
  @Override
  public T on(Link link) throws Exception {
    return work.on(link);
  }

  @Override
  public long limitMillis(long callMillis) {
    return Math.max(limitMillis, callMillis);
  }
}
