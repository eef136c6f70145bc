package com.qrv.norvel.monitoring.jmx.table;

import java.io.IOException;

/** Where a table's beans are read: this JVM itself, or another one over a connection. */
public interface BeanSource {
  /**
   * Reads the same attributes of every bean that {@code beans} names.
   *
   * @param beans an object name or a pattern
   * @param attributes attribute names, without duplicates
   * @return one array per bean, in an order that stays, with one element per attribute: the
   *     value (an MXBean's own type or its open type) or {@link Unavailable}. No beans give an
   *     empty array.
   * @throws IOException when the whole read failed, which means that the connection is of no more
   *     use; a single broken attribute never throws
   */
  Object[][] read(String beans, String[] attributes) throws IOException;

  /**
   * As {@link #read(String, String[])}, but what is read {@link Rhythm#SELDOM} may have an earlier
   * value.
   */
  default Object[][] read(BeanReads reads) throws IOException {
    return read(reads.beans(), reads.attributes());
  }
}
