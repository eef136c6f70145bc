package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.table.BeanTable;

/** A JVM whose tables can be read; any thread may call it. */
public interface MonitoredJvm {
  /** The subnode's name: at most 32 of the characters {@code A-Z a-z 0-9 _ . : -}. */
  String name();

  /**
   * Whether it has a subnode: from when it is reached until it is lost and the next attempt to
   * reach it has failed, too.
   */
  boolean isPresent();

  TargetStatus status();

  /** Begins to connect, if it takes a connection. Once. */
  void start();

  /** Ends the connection and its thread, in their own time. */
  void close();

  /** Tells that something has changed at the target, so that another attempt may succeed. */
  void retryNow();

  /**
   * Reads a table, in bounded time.
   *
   * @return the cells as {@link BeanTable#read} gives them; not to be changed
   * @throws TargetException when the target is down or does not answer in time
   */
  Object[][] sample(BeanTable table) throws TargetException, InterruptedException;

  /**
   * Does other work at the target, in bounded time. A call like any other: it takes its turn with
   * the samples, and one that does not return ends the connection.
   *
   * @param key names the work for people; what has the same key is done once for all who wait
   * @throws TargetException when the target is down, refuses, or does not answer in time
   */
  <T> T work(String key, TargetWork<T> work) throws TargetException, InterruptedException;

  /**
   * Has work done when its turn comes, and waits for nothing. While the target is down it is
   * dropped: whoever wants it done asks again when the target is up.
   */
  void later(String key, TargetWork<?> work);
}
