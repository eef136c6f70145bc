package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.link.ObjectNames;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.Collection;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.NotificationFilterSupport;
import javax.management.ObjectName;
import javax.management.openmbean.CompositeData;
import javax.management.openmbean.TabularData;

/** Garbage collections. Read by item names, because another JVM's classes need not be ours. */
final class GcEvents implements NotificationTable {
  static final String TABLE = "JVM_GC_EVENT";

  private static final String TYPE = "com.sun.management.gc.notification";

  private static final TableDefinition DEFINITION =
      TableDefinition.builder(TABLE)
          .perSubnode()
          .events()
          .column(Columns.int64("TIME_MS"))
          .column(Columns.utf8("COLLECTOR", 64))
          .column(Columns.utf8("ACTION", 64))
          .column(Columns.utf8("CAUSE", 64))
          .column(Columns.int64("GC_ID"))
          .column(Columns.int64("DURATION_MS"))
          .column(Columns.int64("HEAP_BEFORE"))
          .column(Columns.int64("HEAP_AFTER"))
          .build();

  private final NotificationFilterSupport filter = new NotificationFilterSupport();

  GcEvents() {
    filter.enableType(TYPE);
  }

  @Override
  public TableDefinition definition() {
    return DEFINITION;
  }

  @Override
  public ObjectName beans() {
    return ObjectNames.of("java.lang:type=GarbageCollector,*");
  }

  @Override
  public NotificationFilter filter() {
    return filter;
  }

  @Override
  public Object[] cells(ObjectName bean, Notification notification) {
    if (!(notification.getUserData() instanceof CompositeData data)) {
      return null;
    }
    CompositeData info = (CompositeData) data.get("gcInfo");
    return new Object[] {
      notification.getTimeStamp(),
      data.get("gcName"),
      data.get("gcAction"),
      data.get("gcCause"),
      info.get("id"),
      info.get("duration"),
      heap(info.get("memoryUsageBeforeGc")),
      heap(info.get("memoryUsageAfterGc"))
    };
  }

  /** Bytes used in the pools that hold objects. */
  private static Long heap(Object pools) {
    long used = 0;
    for (Object each : (Collection<?>) ((TabularData) pools).values()) {
      CompositeData pool = (CompositeData) each;
      if (!isNonHeap((String) pool.get("key"))) {
        used += (Long) ((CompositeData) pool.get("value")).get("used");
      }
    }
    return used;
  }

  private static boolean isNonHeap(String pool) {
    return pool.startsWith("Code") || pool.equals("Metaspace")
        || pool.equals("Compressed Class Space");
  }
}
