package com.qrv.norvel.monitoring.jmx.process;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;

/** Makes the content of a file in which a JVM publishes itself. */
public final class PerfImage {
  private final Map<String, String> texts = new LinkedHashMap<>();
  private final ByteOrder order;

  public PerfImage(ByteOrder order) {
    this.order = order;
  }

  /** What a JVM publishes that runs the command and may be attached to. */
  public static PerfImage ofJvm(String command) {
    return new PerfImage(ByteOrder.LITTLE_ENDIAN)
        .text(PerfData.CAPABILITIES, "1100")
        .text("java.property.java.vm.name", "Some VM")
        .text(PerfData.COMMAND, command);
  }

  public PerfImage text(String name, String value) {
    texts.put(name, value);
    return this;
  }

  public byte[] bytes() {
    ByteBuffer data = ByteBuffer.allocate(32 * 1024);
    data.putInt(0xcafec0c0);
    data.order(order);
    data.put((byte) (order == ByteOrder.BIG_ENDIAN ? 0 : 1));
    data.put((byte) 2).put((byte) 0).put((byte) 1);
    data.putInt(0).putInt(0).putLong(1).putInt(32).putInt(texts.size() + 1);
    // One that is no text.
    data.putInt(48).putInt(20).putInt(0);
    data.put((byte) 'J').put((byte) 0).put((byte) 1).put((byte) 1).putInt(40);
    data.put(Arrays.copyOf("sun.rt.number".getBytes(StandardCharsets.US_ASCII), 20)).putLong(7);
    texts.forEach((name, value) -> put(data, name, value));
    data.putInt(8, data.position());
    return data.array();
  }

  private static void put(ByteBuffer data, String name, String value) {
    byte[] nameBytes = name.getBytes(StandardCharsets.UTF_8);
    byte[] valueBytes = value.getBytes(StandardCharsets.UTF_8);
    int valueAt = 20 + nameBytes.length + 1;
    int length = (valueAt + valueBytes.length + 1 + 3) / 4 * 4;
    int end = data.position() + length;
    data.putInt(length).putInt(20).putInt(valueBytes.length + 1);
    data.put((byte) 'B').put((byte) 0).put((byte) 5).put((byte) 1).putInt(valueAt);
    data.put(nameBytes).put((byte) 0).put(valueBytes).put((byte) 0);
    data.position(end);
  }
}
