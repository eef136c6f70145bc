package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.Clock;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.SelfBeans;
import java.io.IOException;
import java.util.concurrent.atomic.AtomicLong;

/** The JVM that this code runs in, read by direct calls on the caller's thread. */
public final class SelfJvm implements MonitoredJvm {
  public static final String NAME = "self";

  private final String title;
  private final Clock clock;
  private final SelfBeans beans = new SelfBeans();
  private final long sinceWallMillis;
  private final AtomicLong samples = new AtomicLong();
  private volatile long lastSampleMillis = TargetStatus.UNKNOWN;

  public SelfJvm(String title, Clock clock) {
    this.title = title;
    this.clock = clock;
    this.sinceWallMillis = clock.wallMillis();
  }

  @Override
  public String name() {
    return NAME;
  }

  @Override
  public boolean isPresent() {
    return true;
  }

  @Override
  public TargetStatus status() {
    return new TargetStatus(
        NAME,
        TargetKind.SELF,
        title,
        ProcessHandle.current().pid(),
        "",
        TargetState.UP,
        sinceWallMillis,
        "",
        lastSampleMillis,
        samples.get(),
        0);
  }

  @Override
  public void start() {}

  @Override
  public void close() {}

  @Override
  public void retryNow() {}

  @Override
  public Object[][] sample(BeanTable table) throws TargetException {
    long start = clock.millis();
    try {
      Object[][] rows = table.read(beans, title);
      lastSampleMillis = clock.millis() - start;
      samples.incrementAndGet();
      return rows;
    } catch (IOException e) {
      throw new TargetException(NAME + ": " + e);
    }
  }
}
