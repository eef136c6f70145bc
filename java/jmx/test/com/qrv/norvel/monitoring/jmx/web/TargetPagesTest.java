package com.qrv.norvel.monitoring.jmx.web;

import static org.assertj.core.api.Assertions.assertThat;

import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetKind;
import com.qrv.norvel.monitoring.jmx.monitored.TargetState;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.monitored.WorkTime;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import com.qrv.norvel.monitoring.toolkit.agent.MediaType;
import com.qrv.norvel.monitoring.toolkit.agent.WebRequest;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import java.nio.charset.StandardCharsets;
import java.util.List;
import org.junit.jupiter.api.Test;

final class TargetPagesTest {
  private static final BeanTable[] TABLES = {StandardTables.MEMORY, StandardTables.MEMPOOL};
  private static final TargetStatus SICK =
      new TargetStatus(
          "shop",
          TargetKind.REMOTE,
          "a \"shop\"",
          TargetStatus.UNKNOWN,
          "",
          TargetState.DOWN,
          1_700_000_000_123L,
          "<script>alert('x')</script>\u0001\ud83d",
          7,
          3,
          2,
          List.of(new WorkTime("JVM_GC", 4, 11)));

  private final SelfJvm self = new SelfJvm("the test", Clock.SYSTEM, new RecordingLog());

  private final TargetBoard board =
      new TargetBoard() {
        @Override
        public List<TargetStatus> statuses() {
          return List.of(self.status(), SICK);
        }

        @Override
        public MonitoredJvm find(String name) {
          return name.equals(SelfJvm.NAME) ? self : null;
        }
      };

  @Test
  void theRootShowsEveryTargetWithStateAndTimes() throws Exception {
    WebResponse response = get("/", "");

    assertThat(response.media()).isEqualTo(MediaType.HTML);
    assertThat(text(response))
        .contains("<a href=\"attributes?target=shop\">shop</a>")
        .contains("<td class=\"bad\">down</td>")
        .contains("2023-11-14 22:13:20 UTC")
        .contains("<td>shop</td><td>JVM_GC</td><td class=\"number\">4</td>"
            + "<td class=\"number\">11</td>");
  }

  @Test
  void whatTargetsSayCannotBecomeMarkup() throws Exception {
    assertThat(text(get("/", ""))).doesNotContain("<script").contains("&lt;script&gt;");
  }

  @Test
  void programsGetTheSameAsJson() throws Exception {
    WebResponse response = get("/targets.json", "");

    assertThat(response.media()).isEqualTo(MediaType.JSON);
    assertThat(text(response))
        .contains(
            "{\"name\": \"shop\", \"kind\": \"remote\", \"state\": \"down\","
                + " \"title\": \"a \\\"shop\\\"\", \"pid\": null,"
                + " \"state_since\": \"2023-11-14T22:13:20.123Z\","
                + " \"last_error\": \"<script>alert('x')</script>\\u0001\\ud83d\","
                + " \"samples\": 3, \"failures\": 2, \"tables\": [{\"name\": \"JVM_GC\","
                + " \"last_duration_ms\": 4, \"max_duration_ms\": 11}]}")
        .contains("{\"name\": \"self\"")
        .contains("\"last_error\": null");
  }

  @Test
  void theAttributesOfATargetAreMeasuredOneByOne() throws Exception {
    String page = text(get("/attributes", "target=self"));

    assertThat(page)
        .contains("<td>java.lang:type=Memory</td><td>HeapMemoryUsage</td>")
        .containsPattern("<td class=\"number\">\\d+\\.\\d{3}</td>")
        .contains("were read one by one.");
  }

  @Test
  void measuringEndsWhenItsTimeIsOver() throws Exception {
    TargetPages hurried = new TargetPages(board, TABLES, 0);

    WebResponse response = hurried.answer(new WebRequest("/", "/attributes", "target=self", ""));

    assertThat(text(response)).contains("0 attributes").contains("there was not enough time");
  }

  @Test
  void anUnknownTargetOrPageIsNotFound() throws Exception {
    assertThat(get("/attributes", "target=%3Cb%3E").code()).isEqualTo(404);
    assertThat(text(get("/attributes", "target=%3Cb%3E")))
        .contains("There is no target &lt;b&gt;.")
        .contains("<a href=\"./\">");
    assertThat(get("/favicon.ico", "").code()).isEqualTo(404);
  }

  private WebResponse get(String path, String query) throws Exception {
    return new TargetPages(board, TABLES, 60_000).answer(new WebRequest("/", path, query, ""));
  }

  private static String text(WebResponse response) {
    return new String(response.content(), StandardCharsets.UTF_8);
  }
}
