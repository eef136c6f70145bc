package e2e;

import java.lang.reflect.Method;
import java.nio.ByteBuffer;

/**
 * A JVM that publishes an address of its choice as that of its management agent. Started with
 * {@code --add-exports java.base/jdk.internal.perf=ALL-UNNAMED} and the address.
 */
public final class Lure {
  private static final String COUNTER = "sun.management.JMXConnectorServer.address";
  private static final int CONSTANT = 1;
  private static final int TEXT = 5;

  private Lure() {}

  public static void main(String[] arguments) throws Exception {
    Class<?> type = Class.forName("jdk.internal.perf.Perf");
    Object perf = type.getMethod("getPerf").invoke(null);
    Method create =
        type.getMethod("createString", String.class, int.class, int.class, String.class);
    ByteBuffer published =
        (ByteBuffer) create.invoke(perf, COUNTER, CONSTANT, TEXT, arguments[0]);
    System.out.println("published");
    while (System.in.read() >= 0) {
      published.limit(); // kept as long as it runs
    }
  }
}
