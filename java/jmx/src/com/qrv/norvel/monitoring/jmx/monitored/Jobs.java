package com.qrv.norvel.monitoring.jmx.monitored;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** The work that waits for a target's thread or is being done. The target's lock guards it. */
final class Jobs {
  private final Map<String, Job<?>> byKey = new LinkedHashMap<>();

  boolean isEmpty() {
    return byKey.isEmpty();
  }

  List<Job<?>> all() {
    return new ArrayList<>(byKey.values());
  }

  /** The job of a key, made if there is none. Work of one key has one kind of result. */
  @SuppressWarnings("unchecked")
  <T> Job<T> of(String key, TargetWork<T> work) {
    return (Job<T>) byKey.computeIfAbsent(key, absent -> new Job<>(key, work));
  }

  /** Takes back what nobody waits for any more, unless it has begun. */
  void leave(Job<?> job) {
    if (job.loseCaller()) {
      end(job);
    }
  }

  /** Whether a job is still to be done; from now on it can't be taken back. */
  boolean begin(Job<?> job) {
    if (byKey.get(job.key()) != job) {
      return false;
    }
    job.begin();
    return true;
  }

  void end(Job<?> job) {
    byKey.remove(job.key(), job);
  }

  void failAll(String reason) {
    for (Job<?> job : byKey.values()) {
      job.fail(reason);
    }
    byKey.clear();
  }
}
