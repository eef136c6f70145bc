package com.qrv.norvel.monitoring.toolkit.workbench;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.workbench.pova.WbApp;
import java.io.DataInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Enumeration;
import java.util.List;
import java.util.jar.JarEntry;
import java.util.jar.JarFile;
import org.junit.jupiter.api.Test;

/** The first rows wait for every class that is loaded on the way to them. */
class StartUpCostTest {
  private static final int INVOKE_DYNAMIC = 18;

  @Test
  void needsNoClassThatIsSpunAtRunTime() throws Exception {
    List<String> spinning = new ArrayList<>();
    int seen = 0;
    Path jar = Path.of(WbApp.class.getProtectionDomain().getCodeSource().getLocation().toURI());
    try (JarFile file = new JarFile(jar.toFile())) {
      Enumeration<JarEntry> entries = file.entries();
      while (entries.hasMoreElements()) {
        JarEntry entry = entries.nextElement();
        if (!entry.getName().endsWith(".class") || isRecord(entry.getName())) {
          continue;
        }
        seen++;
        try (InputStream in = file.getInputStream(entry)) {
          if (hasConstant(new DataInputStream(in), INVOKE_DYNAMIC)) {
            spinning.add(entry.getName());
          }
        }
      }
    }

    assertThat(seen).isGreaterThan(40);
    assertThat(spinning).isEmpty();
  }

  /** The operations that a record is given spin a class when they are called: equals, say. */
  private static boolean isRecord(String entry) throws ClassNotFoundException {
    String name = entry.substring(0, entry.length() - ".class".length()).replace('/', '.');
    return Class.forName(name, false, Agent.class.getClassLoader()).isRecord();
  }

  private static boolean hasConstant(DataInputStream in, int wanted) throws IOException {
    in.readLong(); // magic, minor and major version
    int count = in.readUnsignedShort();
    boolean found = false;
    for (int i = 1; i < count; i++) {
      int tag = in.readUnsignedByte();
      found |= tag == wanted;
      switch (tag) {
        case 1 -> in.skipNBytes(in.readUnsignedShort());
        case 7, 8, 16, 19, 20 -> in.skipNBytes(2);
        case 15 -> in.skipNBytes(3);
        case 3, 4, 9, 10, 11, 12, 17, 18 -> in.skipNBytes(4);
        case 5, 6 -> {
          in.skipNBytes(8);
          i++; // Takes two places.
        }
        default -> throw new IOException("unknown constant " + tag);
      }
    }
    return found;
  }
}
