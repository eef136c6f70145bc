package com.qrv.norvel.monitoring.jmx.monitored;

/** Where a monitored JVM is. */
public enum TargetKind {
  SELF("self"),
  LOCAL("local"),
  REMOTE("remote");

  private final String text;

  TargetKind(String text) {
    this.text = text;
  }

  public String text() {
    return text;
  }
}
