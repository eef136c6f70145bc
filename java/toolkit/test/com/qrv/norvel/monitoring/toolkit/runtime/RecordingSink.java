package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.ArrayList;
import java.util.List;

/** Keeps log records. */
final class RecordingSink implements TraceSink {
  record Entry(
      int classes, String component, String sourceFile, String function, String message) {}

  private final List<Entry> entries = new ArrayList<>(); // guarded by this

  @Override
  public synchronized void write(
      int classes, String component, String sourceFile, String function, String message) {
    entries.add(new Entry(classes, component, sourceFile, function, message));
    notifyAll();
  }

  synchronized List<Entry> entries() {
    return new ArrayList<>(entries);
  }

  synchronized List<String> messages() {
    List<String> messages = new ArrayList<>();
    for (Entry entry : entries) {
      messages.add(entry.message());
    }
    return messages;
  }

  /** Returns when a record with this text has been written. */
  synchronized void awaitMessage(String part) throws InterruptedException {
    long end = System.nanoTime() + 30_000_000_000L;
    while (entries.stream().noneMatch(entry -> entry.message().contains(part))) {
      if (System.nanoTime() > end) {
        throw new AssertionError("no record with '" + part + "' in " + messages());
      }
      wait(1000);
    }
  }
}
