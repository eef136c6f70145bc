package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Application;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.tools.ToolProvider;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The code that the documents show compiles, and does what they say. */
class HowToTest {
  @TempDir Path folder;

  @Test
  void showsAnApplicationThatDeliversRows() throws Exception {
    String page = Files.readString(Path.of(System.getProperty("zel.docs"), "howto/add-a-table.md"));
    int begin = page.indexOf("```java\n") + "```java\n".length();
    Path source = folder.resolve("DiskApplication.java");
    Files.writeString(source, page.substring(begin, page.indexOf("```", begin)));
    int status =
        ToolProvider.getSystemJavaCompiler()
            .run(
                null,
                null,
                null,
                "-Xlint:all",
                "-Xlint:-path",
                "-Werror",
                "-cp",
                System.getProperty("java.class.path"),
                "-d",
                folder.toString(),
                source.toString());
    assertThat(status).isZero();

    try (URLClassLoader loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
      Class<?> found = loader.loadClass("example.DiskApplication");
      NativeSide side =
          NativeSide.inline((Application) found.getConstructor().newInstance());
      side.init();

      assertThat(NativeSide.rows(side.sample("DISKS"))).isNotEmpty();
    }
  }
}
