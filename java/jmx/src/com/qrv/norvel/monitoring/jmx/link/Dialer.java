package com.qrv.norvel.monitoring.jmx.link;

/** Opens connections to one JVM. */
public interface Dialer {
  /** Called once, by the target's thread, before the first {@link #dial}. */
  void adoptThread();

  /**
   * Opens a connection; may hang until {@link #cut}. The target's thread only.
   *
   * @throws Exception when there is no connection; the message is shown to operators
   */
  Link dial() throws Exception;

  /** Ends the call that the target's thread is in, as far as it can; never blocks. Any thread. */
  void cut();

  /** There is news of the target: an attempt that was not worth making may be now. Any thread. */
  default void encourage() {}

  /** Takes back {@link #cut}; the target's thread only. */
  void allow();

  /** Lets the connection tolerate a silence this long from now on; the target's thread only. */
  void bear(long millis);
}
