package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.toolkit.agent.Application;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import javax.tools.ToolProvider;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The code that the documents show compiles, and does what they say. */
class HowToTest {
  @TempDir Path folder;

  @Test
  void showsAnApplicationThatDeliversRows() throws Exception {
    try (URLClassLoader loader = compiled("add-a-table.md", "DiskApplication")) {
      NativeSide side = NativeSide.inline(application(loader, "DiskApplication"));
      side.init();

      assertThat(NativeSide.rows(side.sample("DISKS"))).isNotEmpty();
    }
  }

  @Test
  void showsAnApplicationThatPushesEvents() throws Exception {
    Path watched = Files.createDirectory(folder.resolve("watched"));
    System.setProperty("example.folder", watched.toString());
    try (URLClassLoader loader = compiled("add-an-event-table.md", "FolderApplication")) {
      NativeSide side = NativeSide.inline(application(loader, "FolderApplication"));
      side.init();
      side.start();
      Files.createFile(watched.resolve("hello"));

      Object rows = NativeSide.body(side.transport.awaitNotifications(13, 1).get(0)).get(1);

      byte[] row = (byte[]) ((ArrayList<?>) rows).get(0);
      assertThat(new String(row, 8, 6, StandardCharsets.UTF_8)).isEqualTo("hello\0");
    } finally {
      System.clearProperty("example.folder");
    }
  }

  @Test
  void showsAnApplicationWithAnActionAndAPage() throws Exception {
    try (URLClassLoader loader = compiled("add-an-action.md", "NotesApplication")) {
      NativeSide side = NativeSide.inline(application(loader, "NotesApplication"));
      side.init();

      HashMap<?, ?> result =
          NativeSide.body(
              side.request(3, body("", "note greeting \"Hello, <world>\"")));
      HashMap<Integer, Object> get = body("/notes", "name=greeting");
      get.put(2, "");
      byte[] page = (byte[]) NativeSide.body(side.request(5, get)).get(9);

      assertThat(result.get(2)).isEqualTo(0);
      assertThat(result.get(3)).isEqualTo("1 notes");
      assertThat(new String(page, StandardCharsets.UTF_8))
          .isEqualTo("<h1>greeting</h1><p>Hello, &lt;world&gt;</p>");
    }
  }

  private static HashMap<Integer, Object> body(String first, String second) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, first);
    body.put(1, second);
    return body;
  }

  private static Application application(ClassLoader loader, String name) throws Exception {
    return (Application) loader.loadClass("example." + name).getConstructor().newInstance();
  }

  /** The class that a page shows. */
  private URLClassLoader compiled(String pageName, String className) throws Exception {
    String page = Files.readString(Path.of(System.getProperty("zel.docs"), "howto", pageName));
    int begin = page.indexOf("```java\n") + "```java\n".length();
    Path source = folder.resolve(className + ".java");
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
    return new URLClassLoader(new URL[] {folder.toUri().toURL()});
  }
}
