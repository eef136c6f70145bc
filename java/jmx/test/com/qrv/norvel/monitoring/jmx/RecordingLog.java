package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import java.util.ArrayList;
import java.util.List;

/** Keeps what is logged. */
public final class RecordingLog implements OperatorLog {
  private final List<String> infos = new ArrayList<>();
  private final List<String> errors = new ArrayList<>();

  @Override
  public synchronized void info(String text) {
    infos.add(text);
  }

  @Override
  public synchronized void error(String text) {
    errors.add(text);
  }

  public synchronized List<String> infos() {
    return new ArrayList<>(infos);
  }

  public synchronized List<String> errors() {
    return new ArrayList<>(errors);
  }
}
