package com.qrv.norvel.monitoring.fault;

import javax.management.MalformedObjectNameException;
import javax.management.ObjectName;

/** Makes object names of texts that are known to be good. */
final class Names {
  private Names() {}

  static ObjectName of(String text) {
    try {
      return new ObjectName(text);
    } catch (MalformedObjectNameException e) {
      throw new IllegalArgumentException(text, e);
    }
  }
}
