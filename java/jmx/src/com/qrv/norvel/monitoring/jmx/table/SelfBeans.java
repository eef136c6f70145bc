package com.qrv.norvel.monitoring.jmx.table;

import com.sun.management.UnixOperatingSystemMXBean;
import java.lang.management.BufferPoolMXBean;
import java.lang.management.ClassLoadingMXBean;
import java.lang.management.GarbageCollectorMXBean;
import java.lang.management.ManagementFactory;
import java.lang.management.MemoryMXBean;
import java.lang.management.MemoryPoolMXBean;
import java.lang.management.OperatingSystemMXBean;
import java.lang.management.RuntimeMXBean;
import java.lang.management.ThreadMXBean;
import java.util.List;

/**
 * This JVM's own beans, called directly.
 *
 * <p>It gives the attributes of {@link StandardTables} under their JMX names without an MBean
 * server, whose creation alone would cost more than the first sample. A call never blocks, so any
 * thread may make it.
 */
public final class SelfBeans implements BeanSource {
  @Override
  public Object[][] read(String beans, String[] attributes) {
    Object[] found = find(beans);
    Object[][] values = new Object[found.length][];
    for (int bean = 0; bean < found.length; bean++) {
      Object[] row = new Object[attributes.length];
      for (int i = 0; i < row.length; i++) {
        row[i] = attribute(found[bean], attributes[i]);
      }
      values[bean] = row;
    }
    return values;
  }

  private static Object[] find(String beans) {
    switch (beans) {
      case "java.lang:type=Runtime":
        return new Object[] {ManagementFactory.getRuntimeMXBean()};
      case "java.lang:type=Memory":
        return new Object[] {ManagementFactory.getMemoryMXBean()};
      case "java.lang:type=MemoryPool,name=*":
        return ManagementFactory.getMemoryPoolMXBeans().toArray();
      case "java.lang:type=GarbageCollector,name=*":
        return ManagementFactory.getGarbageCollectorMXBeans().toArray();
      case "java.lang:type=Threading":
        return new Object[] {ManagementFactory.getThreadMXBean()};
      case "java.lang:type=ClassLoading":
        return new Object[] {ManagementFactory.getClassLoadingMXBean()};
      case "java.lang:type=OperatingSystem":
        return new Object[] {ManagementFactory.getOperatingSystemMXBean()};
      case "java.nio:type=BufferPool,name=*":
        List<BufferPoolMXBean> pools =
            ManagementFactory.getPlatformMXBeans(BufferPoolMXBean.class);
        return pools.toArray();
      default:
        return new Object[0];
    }
  }

  private static Object attribute(Object bean, String name) {
    Object value;
    try {
      value = valueOf(bean, name);
    } catch (RuntimeException e) {
      return Unavailable.because(e.toString());
    }
    return value == null ? Unavailable.NOTHING : value;
  }

  private static Object valueOf(Object bean, String name) {
    if (bean instanceof RuntimeMXBean) {
      return valueOf((RuntimeMXBean) bean, name);
    }
    if (bean instanceof MemoryMXBean) {
      return valueOf((MemoryMXBean) bean, name);
    }
    if (bean instanceof MemoryPoolMXBean) {
      return valueOf((MemoryPoolMXBean) bean, name);
    }
    if (bean instanceof GarbageCollectorMXBean) {
      return valueOf((GarbageCollectorMXBean) bean, name);
    }
    if (bean instanceof ThreadMXBean) {
      return valueOf((ThreadMXBean) bean, name);
    }
    if (bean instanceof ClassLoadingMXBean) {
      return valueOf((ClassLoadingMXBean) bean, name);
    }
    if (bean instanceof UnixOperatingSystemMXBean) {
      return valueOf((UnixOperatingSystemMXBean) bean, name);
    }
    if (bean instanceof OperatingSystemMXBean) {
      return valueOf((OperatingSystemMXBean) bean, name);
    }
    return valueOf((BufferPoolMXBean) bean, name);
  }

  private static Object valueOf(RuntimeMXBean bean, String name) {
    switch (name) {
      case "Pid":
        return bean.getPid();
      case "VmName":
        return bean.getVmName();
      case "VmVendor":
        return bean.getVmVendor();
      case "VmVersion":
        return bean.getVmVersion();
      case "SpecVersion":
        return bean.getSpecVersion();
      case "StartTime":
        return bean.getStartTime();
      case "Uptime":
        return bean.getUptime();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(MemoryMXBean bean, String name) {
    switch (name) {
      case "HeapMemoryUsage":
        return bean.getHeapMemoryUsage();
      case "NonHeapMemoryUsage":
        return bean.getNonHeapMemoryUsage();
      case "ObjectPendingFinalizationCount":
        return bean.getObjectPendingFinalizationCount();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(MemoryPoolMXBean bean, String name) {
    switch (name) {
      case "Name":
        return bean.getName();
      case "Type":
        return bean.getType().name();
      case "Usage":
        return bean.getUsage();
      case "PeakUsage":
        return bean.getPeakUsage();
      case "CollectionUsage":
        return bean.getCollectionUsage();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(GarbageCollectorMXBean bean, String name) {
    switch (name) {
      case "Name":
        return bean.getName();
      case "CollectionCount":
        return bean.getCollectionCount();
      case "CollectionTime":
        return bean.getCollectionTime();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(ThreadMXBean bean, String name) {
    switch (name) {
      case "ThreadCount":
        return bean.getThreadCount();
      case "DaemonThreadCount":
        return bean.getDaemonThreadCount();
      case "PeakThreadCount":
        return bean.getPeakThreadCount();
      case "TotalStartedThreadCount":
        return bean.getTotalStartedThreadCount();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(ClassLoadingMXBean bean, String name) {
    switch (name) {
      case "LoadedClassCount":
        return bean.getLoadedClassCount();
      case "TotalLoadedClassCount":
        return bean.getTotalLoadedClassCount();
      case "UnloadedClassCount":
        return bean.getUnloadedClassCount();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(UnixOperatingSystemMXBean bean, String name) {
    switch (name) {
      case "ProcessCpuTime":
        return bean.getProcessCpuTime();
      case "ProcessCpuLoad":
        return bean.getProcessCpuLoad();
      case "SystemCpuLoad":
        return bean.getCpuLoad();
      case "OpenFileDescriptorCount":
        return bean.getOpenFileDescriptorCount();
      case "MaxFileDescriptorCount":
        return bean.getMaxFileDescriptorCount();
      case "CommittedVirtualMemorySize":
        return bean.getCommittedVirtualMemorySize();
      case "TotalPhysicalMemorySize":
        return bean.getTotalMemorySize();
      case "FreePhysicalMemorySize":
        return bean.getFreeMemorySize();
      case "TotalSwapSpaceSize":
        return bean.getTotalSwapSpaceSize();
      case "FreeSwapSpaceSize":
        return bean.getFreeSwapSpaceSize();
      default:
        return valueOf((OperatingSystemMXBean) bean, name);
    }
  }

  private static Object valueOf(OperatingSystemMXBean bean, String name) {
    switch (name) {
      case "Name":
        return bean.getName();
      case "Version":
        return bean.getVersion();
      case "Arch":
        return bean.getArch();
      case "AvailableProcessors":
        return bean.getAvailableProcessors();
      case "SystemLoadAverage":
        return bean.getSystemLoadAverage();
      default:
        return unknown(name);
    }
  }

  private static Object valueOf(BufferPoolMXBean bean, String name) {
    switch (name) {
      case "Name":
        return bean.getName();
      case "Count":
        return bean.getCount();
      case "MemoryUsed":
        return bean.getMemoryUsed();
      case "TotalCapacity":
        return bean.getTotalCapacity();
      default:
        return unknown(name);
    }
  }

  private static Object unknown(String name) {
    return Unavailable.because("this JVM has no attribute " + name);
  }
}
