package com.qrv.norvel.monitoring.fault;

import java.util.EnumMap;
import java.util.Map;
import java.util.StringJoiner;
import java.util.function.LongConsumer;

/** The modes as they are now. Any thread may read and change them. */
final class FaultSettings {
  private final Map<Mode, Long> values = new EnumMap<>(Mode.class); // guarded by this
  private final Map<Mode, LongConsumer> listeners = new EnumMap<>(Mode.class); // fixed at start
  private final Map<Mode, String> refusals = new EnumMap<>(Mode.class); // fixed at start
  private final Object applying = new Object(); // one change at a time

  /** Calls the listener with each new value of the mode. Start-up only. */
  void onChange(Mode mode, LongConsumer listener) {
    listeners.put(mode, listener);
  }

  /** Makes the mode one that {@link #command} refuses, and why. Start-up only. */
  void refuse(Mode mode, String reason) {
    refusals.put(mode, reason);
  }

  /** The mode's number, or {@link Setting#OFF}. */
  synchronized long value(Mode mode) {
    return values.getOrDefault(mode, Setting.OFF);
  }

  boolean isOn(Mode mode) {
    return value(mode) != Setting.OFF;
  }

  /** Returns when the mode is off. */
  synchronized void awaitOff(Mode mode) throws InterruptedException {
    while (isOn(mode)) {
      wait();
    }
  }

  void apply(Setting setting) {
    synchronized (applying) {
      synchronized (this) {
        values.put(setting.mode(), setting.value());
        notifyAll();
      }
      LongConsumer listener = listeners.get(setting.mode());
      if (listener != null) {
        listener.accept(setting.value());
      }
    }
  }

  /**
   * Carries out a line: a setting, {@code off} for all modes, or {@code status}.
   *
   * @return the modes that are on
   * @throws UsageException when the line can't be understood
   */
  String command(String line) throws UsageException {
    String text = line.strip();
    if (text.equals("off")) {
      for (Mode mode : Mode.values()) {
        if (isOn(mode)) {
          apply(new Setting(mode, Setting.OFF));
        }
      }
    } else if (!text.equals("status")) {
      Setting setting = Setting.parse(text);
      if (refusals.containsKey(setting.mode())) {
        throw new UsageException(refusals.get(setting.mode()));
      }
      apply(setting);
    }
    return status();
  }

  /** The modes that are on, or "well". */
  String status() {
    StringJoiner text = new StringJoiner(" ");
    for (Mode mode : Mode.values()) {
      Setting setting = new Setting(mode, value(mode));
      if (setting.isOn()) {
        text.add(setting.toString());
      }
    }
    return text.length() == 0 ? "well" : text.toString();
  }
}
