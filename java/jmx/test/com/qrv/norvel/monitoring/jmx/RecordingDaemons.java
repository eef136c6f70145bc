package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.Daemons;
import java.util.ArrayList;
import java.util.List;

/** Starts nothing, and keeps what should be started. */
public final class RecordingDaemons implements Daemons {
  private final List<DaemonCommand> commands = new ArrayList<>();

  @Override
  public synchronized void start(DaemonCommand command) {
    commands.add(command);
  }

  @Override
  public boolean isRunning(long pid) {
    return false;
  }

  public synchronized List<DaemonCommand> commands() {
    return new ArrayList<>(commands);
  }
}
