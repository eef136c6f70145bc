package com.qrv.norvel.monitoring.fault;

import java.io.Serializable;
import java.math.BigInteger;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import javax.management.MBeanServer;
import javax.management.ObjectName;
import javax.management.RuntimeErrorException;
import javax.management.RuntimeMBeanException;

/**
 * An attribute that a mode spoils, one of each kind among those that every monitor reads. {@link
 * Thrower} has the kinds of the mode {@code throw} as attributes of its own.
 */
enum Victim {
  RUNTIME(Mode.THROW, "java.lang:type=Runtime", "VmVendor"),
  UNSUPPORTED(Mode.THROW, "java.lang:type=Threading", "PeakThreadCount"),
  ERROR(Mode.THROW, "java.lang:type=ClassLoading", "UnloadedClassCount"),
  FOREIGN(Mode.THROW, "java.lang:type=OperatingSystem", "Arch"),
  SETS(Mode.NEST, "java.lang:type=Runtime", "VmName"),
  LISTS(Mode.NEST, "java.lang:type=OperatingSystem", "Name"),
  LONG_NUMBER(Mode.DIGITS, "java.lang:type=OperatingSystem", "Version"),
  INFINITE(Mode.DIGITS, "java.lang:type=OperatingSystem", "ProcessCpuTime");

  private static final int NESTED_SETS = 50;
  private static final int NESTED_LISTS = 30;
  private static final int NUMBER_BITS = 1_000_000;

  /** A value that no other program has the class of. */
  record Foreign(String text) implements Serializable {
    private static final long serialVersionUID = 1L;
  }

  private final Mode mode;
  private final String bean;
  private final String attribute;

  Victim(Mode mode, String bean, String attribute) {
    this.mode = mode;
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

  Mode mode() {
    return mode;
  }

  boolean hasValue() {
    return mode != Mode.THROW || this == FOREIGN;
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
      case SETS:
        return nestedSets();
      case LISTS:
        return nestedLists();
      case LONG_NUMBER:
        return BigInteger.ONE.shiftLeft(NUMBER_BITS);
      case INFINITE:
        return Double.POSITIVE_INFINITY;
      default:
        return new Foreign("nobody else can read this");
    }
  }

  /** Some hundred bytes, but whoever reads them computes hashes in 2^50 steps. */
  private static Object nestedSets() {
    Set<Object> all = new HashSet<>();
    Set<Object> left = all;
    Set<Object> right = new HashSet<>();
    for (int level = 0; level < NESTED_SETS; level++) {
      Set<Object> nextLeft = new HashSet<>();
      Set<Object> nextRight = new HashSet<>(Set.of("not equal to the other one"));
      for (Set<Object> set : List.of(left, right)) {
        // Empty yet, so that this one is not kept busy.
        set.add(nextLeft);
        set.add(nextRight);
      }
      left = nextLeft;
      right = nextRight;
    }
    return all;
  }

  /** Each shows the next one twice. */
  private static Object nestedLists() {
    List<Object> lists = new ArrayList<>(List.of("x"));
    for (int level = 0; level < NESTED_LISTS; level++) {
      lists = new ArrayList<>(Arrays.asList(lists, lists));
    }
    return lists;
  }
}
