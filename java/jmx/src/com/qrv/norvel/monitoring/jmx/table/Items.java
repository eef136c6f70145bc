package com.qrv.norvel.monitoring.jmx.table;

import java.lang.management.MemoryUsage;
import java.util.Map;

/** Takes one item out of a composite attribute, in its local form or as it is kept. */
final class Items {
  private Items() {}

  static Object item(Object composite, String item) {
    if (composite instanceof MemoryUsage) {
      return item((MemoryUsage) composite, item);
    }
    if (!(composite instanceof Map)) {
      return Unavailable.because("it is not a composite value but a "
          + composite.getClass().getName());
    }
    Map<?, ?> items = (Map<?, ?>) composite;
    if (!items.containsKey(item)) {
      return Unavailable.because("its composite value has no number " + item);
    }
    Object value = items.get(item);
    return value == null ? Unavailable.NOTHING : value;
  }

  private static Object item(MemoryUsage usage, String item) {
    switch (item) {
      case "init":
        return usage.getInit();
      case "used":
        return usage.getUsed();
      case "committed":
        return usage.getCommitted();
      case "max":
        return usage.getMax();
      default:
        return Unavailable.because("a memory usage has no item " + item);
    }
  }
}
