package com.qrv.norvel.monitoring.fault;

/** Switches the faults, over JMX. */
public interface ControlMBean {
  /** The modes that are on. */
  String getStatus();

  /**
   * Carries out a command, as a line of standard input does.
   *
   * @return the modes that are on then
   * @throws IllegalArgumentException when the command can't be understood
   */
  String apply(String command);
}
