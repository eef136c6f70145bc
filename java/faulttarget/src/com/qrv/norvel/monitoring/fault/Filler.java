package com.qrv.norvel.monitoring.fault;

/** A bean whose values follow from its number. */
public final class Filler implements FillerMBean {
  private final int number;

  Filler(int number) {
    this.number = number;
  }

  static String name(int number) {
    return String.format("fault-%07d", number);
  }

  @Override
  public String getName() {
    return name(number);
  }

  @Override
  public long getCount() {
    return number;
  }

  @Override
  public long getMemoryUsed() {
    return number * 1000L;
  }

  @Override
  public long getTotalCapacity() {
    return number * 2000L;
  }
}
