package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Application;

/** Makes the application. */
interface ApplicationSource {

  /**
   * The application, not configured yet.
   *
   * @throws Exception with a text that tells the user what to change
   */
  Application create() throws Exception;
}
