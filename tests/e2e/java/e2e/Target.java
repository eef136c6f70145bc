package e2e;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.lang.management.BufferPoolMXBean;
import java.lang.management.GarbageCollectorMXBean;
import java.lang.management.ManagementFactory;
import java.lang.management.MemoryPoolMXBean;
import java.lang.management.RuntimeMXBean;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import java.util.TreeSet;
import java.util.concurrent.CountDownLatch;

/** A virtual machine to be monitored. For each line that it reads it prints facts about itself. */
final class Target {
  private static final int PARKED_THREADS = 5;

  private Target() {}

  public static void main(String[] arguments) throws IOException {
    List<ByteBuffer> buffers = new ArrayList<>();
    for (int i = 0; i < 3; i++) {
      buffers.add(ByteBuffer.allocateDirect(1 << 16));
    }
    CountDownLatch never = new CountDownLatch(1);
    for (int i = 0; i < PARKED_THREADS; i++) {
      Thread thread = new Thread(() -> await(never), "parked-" + i);
      thread.setDaemon(true);
      thread.start();
    }
    BufferedReader in =
        new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    while (in.readLine() != null) {
      System.out.println(facts(buffers.size()));
    }
  }

  private static void await(CountDownLatch latch) {
    try {
      latch.await();
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  private static String facts(int buffers) {
    RuntimeMXBean runtime = ManagementFactory.getRuntimeMXBean();
    TreeSet<String> pools = new TreeSet<>();
    for (MemoryPoolMXBean pool : ManagementFactory.getMemoryPoolMXBeans()) {
      pools.add(pool.getName());
    }
    TreeSet<String> collectors = new TreeSet<>();
    for (GarbageCollectorMXBean collector : ManagementFactory.getGarbageCollectorMXBeans()) {
      collectors.add(collector.getName());
    }
    TreeSet<String> bufferPools = new TreeSet<>();
    for (BufferPoolMXBean pool : ManagementFactory.getPlatformMXBeans(BufferPoolMXBean.class)) {
      bufferPools.add(pool.getName());
    }
    return "{\"pid\": " + runtime.getPid()
        + ", \"vm_name\": \"" + runtime.getVmName() + "\""
        + ", \"vm_version\": \"" + runtime.getVmVersion() + "\""
        + ", \"start_time\": " + runtime.getStartTime()
        + ", \"uptime\": " + runtime.getUptime()
        + ", \"heap_max\": " + ManagementFactory.getMemoryMXBean().getHeapMemoryUsage().getMax()
        + ", \"loaded\": " + ManagementFactory.getClassLoadingMXBean().getTotalLoadedClassCount()
        + ", \"started\": " + ManagementFactory.getThreadMXBean().getTotalStartedThreadCount()
        + ", \"buffers\": " + buffers
        + ", \"pools\": " + list(pools)
        + ", \"collectors\": " + list(collectors)
        + ", \"buffer_pools\": " + list(bufferPools)
        + "}";
  }

  private static String list(Iterable<String> texts) {
    StringBuilder list = new StringBuilder("[");
    for (String text : texts) {
      list.append(list.length() > 1 ? ", \"" : "\"").append(text).append('"');
    }
    return list.append(']').toString();
  }
}
