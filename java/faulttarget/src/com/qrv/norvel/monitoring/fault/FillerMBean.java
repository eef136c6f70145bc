package com.qrv.norvel.monitoring.fault;

/** One of many; its attributes are those of a buffer pool. */
public interface FillerMBean {
  String getName();

  long getCount();

  long getMemoryUsed();

  long getTotalCapacity();
}
