package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import java.util.List;

/** Something that may be done at a target. */
interface TargetAction {
  /** The command's first word. */
  String word();

  /** The word and its arguments, for people. */
  String usage();

  /** What it does, for people; may be empty. */
  String description();

  /**
   * Makes the work of one command, which gives the message for whoever asked.
   *
   * @throws IllegalArgumentException when the arguments don't fit; the message says which and why
   */
  TargetWork<String> work(List<String> arguments);
}
