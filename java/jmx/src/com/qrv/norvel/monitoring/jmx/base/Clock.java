package com.qrv.norvel.monitoring.jmx.base;

/** The two times that the application reads; any thread may ask. */
public interface Clock {
  /** Milliseconds since 1970, for people. */
  long wallMillis();

  /** Milliseconds since an arbitrary moment, never going back, for deadlines and intervals. */
  long millis();

  /** The machine's clock. */
  Clock SYSTEM =
      new Clock() {
        @Override
        public long wallMillis() {
          return System.currentTimeMillis();
        }

        @Override
        public long millis() {
          return System.nanoTime() / 1_000_000;
        }
      };
}
