package com.qrv.norvel.monitoring.jmx.base;

import java.util.LinkedHashMap;
import java.util.Map;

/**
 * Remembers what has been reported, so that it is not reported again: the last {@value #MAX}
 * complaints, each by its first characters. Any thread may call.
 */
public final class Reported {
  private static final int MAX = 200;

  private final Map<String, Boolean> known = // guarded by itself
      new LinkedHashMap<>(16, 0.75f, true) {
        private static final long serialVersionUID = 1L;

        @Override
        protected boolean removeEldestEntry(Map.Entry<String, Boolean> eldest) {
          return size() > MAX;
        }
      };

  /** Whether a complaint is new; it is no more thereafter. */
  public boolean isNew(String complaint) {
    synchronized (known) {
      return known.put(Shown.name(complaint), true) == null;
    }
  }
}
