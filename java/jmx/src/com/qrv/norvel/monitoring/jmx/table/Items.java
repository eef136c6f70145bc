package com.qrv.norvel.monitoring.jmx.table;

import java.lang.management.MemoryUsage;
import javax.management.openmbean.CompositeData;

/** Takes one item out of a composite attribute, in its local or its open form. */
final class Items {
  private Items() {}

  static Object item(Object composite, String item) {
    if (composite instanceof MemoryUsage) {
      return item((MemoryUsage) composite, item);
    }
    return Open.item(composite, item);
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

  /** Apart, so that this JVM's own values are read without loading the open types. */
  private static final class Open {
    static Object item(Object composite, String item) {
      if (!(composite instanceof CompositeData)) {
        return Unavailable.because(
            "it is not a composite value but a " + composite.getClass().getName());
      }
      CompositeData data = (CompositeData) composite;
      if (!data.containsKey(item)) {
        return Unavailable.because("its composite value has no item " + item);
      }
      Object value = data.get(item);
      return value == null ? Unavailable.NOTHING : value;
    }
  }
}
