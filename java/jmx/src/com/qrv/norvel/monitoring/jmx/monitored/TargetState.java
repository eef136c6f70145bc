package com.qrv.norvel.monitoring.jmx.monitored;

/** The life of a target: connecting, up, and down between attempts. */
public enum TargetState {
  CONNECTING("connecting"),
  UP("up"),
  /** It has not answered in time, and the call that hangs has not ended yet. */
  OVERDUE("overdue"),
  DOWN("down"),
  CLOSED("closed");

  private final String text;

  TargetState(String text) {
    this.text = text;
  }

  public String text() {
    return text;
  }
}
