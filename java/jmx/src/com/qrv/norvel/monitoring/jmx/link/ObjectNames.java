package com.qrv.norvel.monitoring.jmx.link;

import javax.management.MalformedObjectNameException;
import javax.management.ObjectName;

/** Names of MBeans whose text has been checked already. */
public final class ObjectNames {
  private ObjectNames() {}

  /** The name or pattern. */
  public static ObjectName of(String text) {
    try {
      return new ObjectName(text);
    } catch (MalformedObjectNameException e) {
      throw new IllegalArgumentException(text + " is not an object name", e);
    }
  }
}
