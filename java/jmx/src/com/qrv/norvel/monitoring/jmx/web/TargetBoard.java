package com.qrv.norvel.monitoring.jmx.web;

import com.qrv.norvel.monitoring.jmx.monitored.TargetLookup;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import java.util.List;

/** The targets as pages show them. Any thread may call. */
public interface TargetBoard extends TargetLookup {
  /** What is known of all targets, this JVM first. */
  List<TargetStatus> statuses();
}
