package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.table.BeanSource;
import java.io.IOException;
import javax.management.MBeanServerConnection;

/** An open connection to a JVM. Used by its target's thread alone. */
public interface Link extends BeanSource {
  /** Asks for a sign of life. */
  void ping() throws IOException;

  /** Says goodbye; may take as long as any call. A link that failed is dropped without it. */
  void close() throws IOException;

  /** The beans, for work that {@link #read} does not do. */
  MBeanServerConnection server();
}
