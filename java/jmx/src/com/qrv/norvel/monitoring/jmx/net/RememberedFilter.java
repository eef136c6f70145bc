package com.qrv.norvel.monitoring.jmx.net;

import java.io.ObjectInputFilter;
import java.util.concurrent.ConcurrentHashMap;

/**
 * A filter by patterns that remembers which classes passed. It is asked for every object of every
 * answer, and patterns are tried one by one each time.
 */
final class RememberedFilter implements ObjectInputFilter {
  // What passes comes with the runtime, so these are few and stay loaded anyway.
  private final ConcurrentHashMap<Class<?>, Status> passed = new ConcurrentHashMap<>();
  private final ObjectInputFilter patterns;
  private final long maxDepth;
  private final long maxCount;

  /**
   * @param maxDepth deeper objects are left to the patterns
   * @param maxCount answers with more references, elements or bytes are left to the patterns
   */
  RememberedFilter(ObjectInputFilter patterns, long maxDepth, long maxCount) {
    this.patterns = patterns;
    this.maxDepth = maxDepth;
    this.maxCount = maxCount;
  }

  @Override
  public Status checkInput(FilterInfo info) {
    Class<?> type = info.serialClass();
    if (type == null || isLarge(info)) {
      return patterns.checkInput(info);
    }
    Status known = passed.get(type);
    if (known != null) {
      return known;
    }
    Status status = patterns.checkInput(info);
    if (status != Status.REJECTED) {
      passed.put(type, status);
    }
    return status;
  }

  private boolean isLarge(FilterInfo info) {
    return info.depth() > maxDepth
        || info.references() > maxCount
        || info.arrayLength() > maxCount
        || info.streamBytes() > maxCount;
  }
}
