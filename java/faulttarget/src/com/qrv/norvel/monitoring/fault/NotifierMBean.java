package com.qrv.norvel.monitoring.fault;

/** Sends notifications of the type {@code zel.fault.tick}. */
public interface NotifierMBean {
  /** How many it has sent. */
  long getSent();
}
