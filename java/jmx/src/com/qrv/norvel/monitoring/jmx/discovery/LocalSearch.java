package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.List;
import java.util.function.Consumer;

/** Searches for local JVMs again and again, beside everything else. */
public interface LocalSearch {
  /**
   * Begins; called once.
   *
   * @param found takes all that each search finds, on a thread of the search
   */
  void start(Consumer<List<LocalJvm>> found);

  /** Ends after the search in progress; never waits for it. Any thread. */
  void close();
}
