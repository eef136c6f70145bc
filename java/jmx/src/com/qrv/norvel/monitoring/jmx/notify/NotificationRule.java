package com.qrv.norvel.monitoring.jmx.notify;

import java.util.List;

/**
 * Notifications that the configuration wants. Immutable.
 *
 * @param table name of the event table
 * @param beans an object name or a pattern
 * @param types what the types of the notifications begin with; empty takes all
 */
public record NotificationRule(String table, String beans, List<String> types) {
  public NotificationRule {
    types = List.copyOf(types);
  }
}
