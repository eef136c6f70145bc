package com.qrv.norvel.monitoring.jmx.config;

/** The configuration file has a mistake; the message says where, and what was expected. */
public final class ConfigException extends Exception {
  private static final long serialVersionUID = 1L;

  public ConfigException(String message) {
    super(message);
  }
}
