package com.qrv.norvel.monitoring.fault;

import java.io.Serializable;
import javax.management.MBeanServer;
import javax.management.ObjectName;
import javax.management.RuntimeErrorException;
import javax.management.RuntimeMBeanException;

/**
 * An attribute that the mode {@code throw} spoils, one of each kind among those that every monitor
 * reads. {@link Thrower} has the same kinds as attributes of its own.
 */
enum Victim {
  RUNTIME("java.lang:type=Runtime", "VmVendor"),
  UNSUPPORTED("java.lang:type=Threading", "PeakThreadCount"),
  ERROR("java.lang:type=ClassLoading", "UnloadedClassCount"),
  FOREIGN("java.lang:type=OperatingSystem", "Arch");

  /** A value that no other program has the class of. */
  record Foreign(String text) implements Serializable {
    private static final long serialVersionUID = 1L;
  }

  private final String bean;
  private final String attribute;

  Victim(String bean, String attribute) {
    this.bean = bean;
    this.attribute = attribute;
  }

  static Victim find(ObjectName bean, String attribute) {
    for (Victim victim : values()) {
      if (victim.attribute.equals(attribute) && victim.bean.equals(bean.getCanonicalName())) {
        return victim;
      }
    }
    return null;
  }

  boolean hasValue() {
    return this == FOREIGN;
  }

  /** Gives what an {@link MBeanServer} gives for an attribute of this kind. */
  Object read() {
    try {
      return value();
    } catch (RuntimeException e) {
      throw new RuntimeMBeanException(e);
    } catch (Error e) {
      throw new RuntimeErrorException(e);
    }
  }

  /** Throws, or returns a value that can't be understood elsewhere. */
  Object value() {
    switch (this) {
      case RUNTIME:
        throw new IllegalStateException("the fault target throws a RuntimeException");
      case UNSUPPORTED:
        throw new UnsupportedOperationException("the fault target does not support this");
      case ERROR:
        throw new AssertionError("the fault target throws an Error");
      default:
        return new Foreign("nobody else can read this");
    }
  }
}
