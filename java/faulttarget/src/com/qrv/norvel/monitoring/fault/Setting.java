package com.qrv.norvel.monitoring.fault;

import java.util.Arrays;
import java.util.stream.Collectors;

/**
 * One mode, switched on or off.
 *
 * @param value its number, 1 for a mode that is only on or off, or {@link #OFF}
 */
record Setting(Mode mode, long value) {
  static final long OFF = -1;
  private static final long ON = 1;

  /**
   * Reads {@code MODE}, {@code MODE=NUMBER}, {@code MODE=on} or {@code MODE=off}.
   *
   * @throws UsageException when it is nothing of that kind
   */
  static Setting parse(String text) throws UsageException {
    int equals = text.indexOf('=');
    String name = equals < 0 ? text : text.substring(0, equals);
    Mode mode = Mode.find(name);
    if (mode == null) {
      throw new UsageException("there is no mode '" + name + "'; the modes are "
          + Arrays.stream(Mode.values()).map(Mode::usage).collect(Collectors.joining(", ")));
    }
    String value = equals < 0 ? "" : text.substring(equals + 1);
    if (value.equals("off")) {
      return new Setting(mode, OFF);
    }
    if (!mode.hasNumber() && (equals < 0 || value.equals("on"))) {
      return new Setting(mode, ON);
    }
    if (mode.hasNumber()) {
      try {
        long number = Long.parseLong(value);
        if (number >= mode.min() && number <= mode.max()) {
          return new Setting(mode, number);
        }
      } catch (NumberFormatException e) {
        throw new UsageException("'" + text + "': " + expected(mode));
      }
    }
    throw new UsageException("'" + text + "': " + expected(mode));
  }

  private static String expected(Mode mode) {
    return mode.hasNumber()
        ? mode.usage() + " takes a number from " + mode.min() + " to " + mode.max() + ", or off"
        : mode.text() + " is on or off";
  }

  boolean isOn() {
    return value != OFF;
  }

  /** As {@link #parse} reads it. */
  @Override
  public String toString() {
    return mode.text() + '=' + (!isOn() ? "off" : mode.hasNumber() ? Long.toString(value) : "on");
  }
}
