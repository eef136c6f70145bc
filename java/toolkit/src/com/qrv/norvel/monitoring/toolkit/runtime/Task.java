package com.qrv.norvel.monitoring.toolkit.runtime;

/** A piece of the application's code. */
interface Task {
  void run() throws Exception;
}
