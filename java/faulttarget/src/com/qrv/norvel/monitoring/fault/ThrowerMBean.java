package com.qrv.norvel.monitoring.fault;

/** Attributes that go wrong, each in its own way, and one that does not. */
public interface ThrowerMBean {
  /** Throws a RuntimeException. */
  String getRuntime();

  /** Throws an UnsupportedOperationException. */
  String getUnsupported();

  /** Throws an Error. */
  String getError();

  /** Its value is of a class that no other program has. */
  Object getForeign();

  /** Works. */
  String getGood();
}
