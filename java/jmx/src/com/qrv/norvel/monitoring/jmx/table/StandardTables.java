package com.qrv.norvel.monitoring.jmx.table;

/**
 * The tables that every JVM can fill, from its {@code java.lang} and {@code java.nio} beans.
 *
 * <p>Sizes are bytes. A maximum of -1 means that the JVM sets no limit. Columns that end in
 * {@code _MILLI} hold thousandths. What is read seldom of other JVMs hardly changes, or costs much:
 * each memory usage is an object with a description of its own on the wire.
 */
public final class StandardTables {
  public static final BeanTable RUNTIME =
      BeanTable.of("JVM_RUNTIME", "java.lang:type=Runtime")
          .int32("PID", "Pid")
          .title("NAME", 128)
          .text("VM_NAME", 64, "VmName")
          .text("VM_VENDOR", 64, "VmVendor")
          .text("VM_VERSION", 64, "VmVersion")
          .text("JAVA_VERSION", 16, "SpecVersion")
          .int64("START_TIME_MS", "StartTime")
          .int64("UPTIME_MS", "Uptime")
          .seldom("Pid", "VmName", "VmVendor", "VmVersion", "SpecVersion", "StartTime")
          .build();

  public static final BeanTable MEMORY =
      BeanTable.of("JVM_MEMORY", "java.lang:type=Memory")
          .int64("HEAP_USED", "HeapMemoryUsage", "used")
          .int64("HEAP_COMMITTED", "HeapMemoryUsage", "committed")
          .int64("HEAP_MAX", "HeapMemoryUsage", "max")
          .int64("HEAP_INIT", "HeapMemoryUsage", "init")
          .int64("NONHEAP_USED", "NonHeapMemoryUsage", "used")
          .int64("NONHEAP_COMMITTED", "NonHeapMemoryUsage", "committed")
          .int64("NONHEAP_MAX", "NonHeapMemoryUsage", "max")
          .int64("NONHEAP_INIT", "NonHeapMemoryUsage", "init")
          .int32("PENDING_FINALIZATION", "ObjectPendingFinalizationCount")
          .seldom("NonHeapMemoryUsage")
          .build();

  /** The column {@code AFTER_GC_USED} has no value for pools that no collector cleans. */
  public static final BeanTable MEMPOOL =
      BeanTable.of("JVM_MEMPOOL", "java.lang:type=MemoryPool,name=*")
          .text("POOL", 64, "Name")
          .text("TYPE", 16, "Type")
          .int64("USED", "Usage", "used")
          .int64("COMMITTED", "Usage", "committed")
          .int64("MAX", "Usage", "max")
          .int64("INIT", "Usage", "init")
          .int64("PEAK_USED", "PeakUsage", "used")
          .int64("AFTER_GC_USED", "CollectionUsage", "used")
          .seldom("Name", "Type", "PeakUsage", "CollectionUsage")
          .seldomWith("NON_HEAP")
          .build();

  public static final BeanTable GC =
      BeanTable.of("JVM_GC", "java.lang:type=GarbageCollector,name=*")
          .text("COLLECTOR", 64, "Name")
          .int64("COLLECTIONS", "CollectionCount")
          .int64("TIME_MS", "CollectionTime")
          .seldom("Name")
          .build();

  public static final BeanTable THREADS =
      BeanTable.of("JVM_THREADS", "java.lang:type=Threading")
          .int32("LIVE", "ThreadCount")
          .int32("DAEMON", "DaemonThreadCount")
          .int32("PEAK", "PeakThreadCount")
          .int64("STARTED", "TotalStartedThreadCount")
          .build();

  public static final BeanTable CLASSES =
      BeanTable.of("JVM_CLASSES", "java.lang:type=ClassLoading")
          .int32("LOADED", "LoadedClassCount")
          .int64("TOTAL_LOADED", "TotalLoadedClassCount")
          .int64("UNLOADED", "UnloadedClassCount")
          .seldom("LoadedClassCount", "TotalLoadedClassCount", "UnloadedClassCount")
          .build();

  /** Memory attributes go by the names that all class libraries since 7 know. */
  public static final BeanTable OS =
      BeanTable.of("JVM_OS", "java.lang:type=OperatingSystem")
          .text("OS_NAME", 32, "Name")
          .text("OS_VERSION", 64, "Version")
          .text("ARCHITECTURE", 16, "Arch")
          .int32("PROCESSORS", "AvailableProcessors")
          .milli("LOAD_AVERAGE_MILLI", "SystemLoadAverage")
          .int64("PROCESS_CPU_NS", "ProcessCpuTime")
          .milli("PROCESS_CPU_MILLI", "ProcessCpuLoad")
          .milli("SYSTEM_CPU_MILLI", "SystemCpuLoad")
          .int64("OPEN_FDS", "OpenFileDescriptorCount")
          .int64("MAX_FDS", "MaxFileDescriptorCount")
          .int64("VIRTUAL_COMMITTED", "CommittedVirtualMemorySize")
          .int64("MEMORY_TOTAL", "TotalPhysicalMemorySize")
          .int64("MEMORY_FREE", "FreePhysicalMemorySize")
          .int64("SWAP_TOTAL", "TotalSwapSpaceSize")
          .int64("SWAP_FREE", "FreeSwapSpaceSize")
          .seldom("Name", "Version", "Arch", "AvailableProcessors")
          .seldom("MaxFileDescriptorCount", "TotalPhysicalMemorySize", "TotalSwapSpaceSize")
          .build();

  public static final BeanTable BUFFERPOOL =
      BeanTable.of("JVM_BUFFERPOOL", "java.nio:type=BufferPool,name=*")
          .text("POOL", 64, "Name")
          .int64("BUFFERS", "Count")
          .int64("USED", "MemoryUsed")
          .int64("CAPACITY", "TotalCapacity")
          .seldom("Name")
          .build();

  private StandardTables() {}

  /** All of them, in the order in which they are shown. */
  public static BeanTable[] all() {
    return new BeanTable[] {RUNTIME, MEMORY, MEMPOOL, GC, THREADS, CLASSES, OS, BUFFERPOOL};
  }
}
