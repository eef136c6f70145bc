package com.qrv.norvel.monitoring.jmx.notify;

import com.qrv.norvel.monitoring.jmx.link.ObjectNames;
import com.qrv.norvel.monitoring.jmx.table.PlainValue;
import com.qrv.norvel.monitoring.jmx.table.ValueText;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import javax.management.Notification;
import javax.management.NotificationFilter;
import javax.management.NotificationFilterSupport;
import javax.management.ObjectName;

/** The notifications of one rule of the configuration, as they are. */
final class ConfiguredEvents implements NotificationTable {
  private static final int NAME_SIZE = 256;
  private static final int TEXT_SIZE = 512;

  private final TableDefinition definition;
  private final ObjectName beans;
  private final NotificationFilterSupport filter;

  ConfiguredEvents(NotificationRule rule) {
    definition =
        TableDefinition.builder(rule.table())
            .perSubnode()
            .events()
            .column(Columns.int64("TIME_MS"))
            .column(Columns.utf8("MBEAN", NAME_SIZE))
            .column(Columns.utf8("TYPE", NAME_SIZE))
            .column(Columns.int64("SOURCE_SEQ"))
            .column(Columns.utf8("MESSAGE", TEXT_SIZE))
            .column(Columns.utf8("USER_DATA", TEXT_SIZE))
            .build();
    beans = ObjectNames.of(rule.beans());
    filter = rule.types().isEmpty() ? null : new NotificationFilterSupport();
    for (String type : rule.types()) {
      filter.enableType(type);
    }
  }

  @Override
  public TableDefinition definition() {
    return definition;
  }

  @Override
  public ObjectName beans() {
    return beans;
  }

  @Override
  public NotificationFilter filter() {
    return filter;
  }

  @Override
  public Object[] cells(ObjectName bean, Notification notification) {
    Object data = notification.getUserData();
    return new Object[] {
      notification.getTimeStamp(),
      PlainValue.cut(bean.getCanonicalName(), NAME_SIZE),
      PlainValue.cut(notification.getType(), NAME_SIZE),
      notification.getSequenceNumber(),
      PlainValue.cut(notification.getMessage(), TEXT_SIZE),
      data == null ? null : ValueText.of(data, TEXT_SIZE)
    };
  }
}
