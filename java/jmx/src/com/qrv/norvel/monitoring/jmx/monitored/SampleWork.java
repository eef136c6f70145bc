package com.qrv.norvel.monitoring.jmx.monitored;

import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import java.io.IOException;

/** Reads a table. A class with a name: the first lambda of a process costs its start too much. */
final class SampleWork implements TargetWork<Object[][]> {
  private final BeanTable table;
  private final String title;

  SampleWork(BeanTable table, String title) {
    this.table = table;
    this.title = title;
  }

  String table() {
    return table.name();
  }

  @Override
  public Object[][] on(Link link) throws IOException {
    return table.read(link, title);
  }
}
