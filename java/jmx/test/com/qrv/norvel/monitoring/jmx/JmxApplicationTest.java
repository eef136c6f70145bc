package com.qrv.norvel.monitoring.jmx;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.config.ConfigException;
import com.qrv.norvel.monitoring.jmx.config.ConfigFile;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

final class JmxApplicationTest {
  @TempDir private Path directory;

  private final FakeAgent agent = new FakeAgent();
  private final JmxApplication application = new JmxApplication();

  @AfterEach
  void forgetConfiguration() {
    System.clearProperty(ConfigFile.PROPERTY);
  }

  @Test
  void showsThisJvmWithoutAnyOther() throws Exception {
    configure("local: {enabled: false}\n");
    application.configure(agent);
    application.started();
    try {
      assertThat(agent.subnodes.registered()).containsExactly("self");
      assertThat(agent.tableNames())
          .containsExactly(
              "JVM_RUNTIME",
              "JVM_MEMORY",
              "JVM_MEMPOOL",
              "JVM_GC",
              "JVM_THREADS",
              "JVM_CLASSES",
              "JVM_OS",
              "JVM_BUFFERPOOL",
              "JVM_TARGETS");

      List<Map<String, Object>> runtime = agent.sample("JVM_RUNTIME", "self");
      assertThat(runtime).hasSize(1);
      assertThat(runtime.get(0))
          .containsEntry("ORIGINNODE", "self")
          .containsEntry("PID", ProcessHandle.current().pid())
          .containsEntry("NAME", "agent ZJX");
      assertThat(agent.sample("JVM_GC", "self").size()).isPositive();
      assertThat(agent.errors).isEmpty();
    } finally {
      application.stopped();
    }
  }

  @Test
  void theTableOfTargetsListsThoseThatAreDownToo() throws Exception {
    configure(
        "local: {enabled: false}\n"
            + "remote: [{name: away, url: 'service:jmx:rmi:///jndi/rmi://127.0.0.1:1/jmxrmi'}]\n");
    application.configure(agent);
    application.started();
    try {
      Await.until("away is listed", () -> agent.sample("JVM_TARGETS").size() == 2);
      Await.until("away is down", () -> targetRow(1).get("STATE").equals("down"));

      assertThat(agent.subnodes.registered()).containsExactly("self");
      Map<String, Object> self = targetRow(0);
      assertThat(self)
          .containsEntry("NAME", "self")
          .containsEntry("KIND", "self")
          .containsEntry("STATE", "up")
          .containsEntry("PID", ProcessHandle.current().pid());
      Map<String, Object> away = targetRow(1);
      assertThat(away)
          .containsEntry("NAME", "away")
          .containsEntry("KIND", "remote")
          .containsEntry("URL", "service:jmx:rmi:///jndi/rmi://127.0.0.1:1/jmxrmi")
          .doesNotContainKeys("PID", "LAST_SAMPLE_MS");
      assertThat((String) away.get("LAST_ERROR")).contains("refused");
      assertThatThrownBy(() -> agent.sample("JVM_GC", "away")).hasMessageContaining("refused");
    } finally {
      application.stopped();
    }
  }

  @Test
  void anUnknownSubnodeIsNamed() throws Exception {
    configure("local: {enabled: false}\n");
    application.configure(agent);

    assertThatThrownBy(() -> agent.sample("JVM_GC", "nobody"))
        .hasMessage("there is no target nobody");
  }

  @Test
  void aMistakeInTheConfigurationEndsTheStart() throws Exception {
    configure("locl: {}\n");

    assertThatThrownBy(() -> application.configure(agent))
        .isInstanceOf(ConfigException.class)
        .hasMessageContaining("did you mean 'local'");
    assertThat(agent.tableNames()).isEmpty();
  }

  @Test
  void endingBeforeTheStartIsFine() throws Exception {
    configure("local: {enabled: false}\n");
    application.configure(agent);

    application.stopped();

    assertThat(agent.subnodes.registered()).isEmpty();
  }

  private Map<String, Object> targetRow(int index) throws Exception {
    return agent.sample("JVM_TARGETS").get(index);
  }

  private void configure(String text) throws Exception {
    Path file = Files.writeString(directory.resolve("jmx.yaml"), text);
    System.setProperty(ConfigFile.PROPERTY, file.toString());
  }
}
