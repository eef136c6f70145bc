package com.qrv.norvel.monitoring.jmx.web;

import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.monitored.WorkTime;
import java.time.Instant;
import java.time.ZoneOffset;
import java.time.format.DateTimeFormatter;
import java.util.List;

/**
 * Writes the targets as JSON, for programs. As in the agent's REST API, names end in their unit and
 * moments are RFC 3339 in UTC; what is not known is null.
 */
final class TargetsJson {
  private static final DateTimeFormatter MOMENT =
      DateTimeFormatter.ofPattern("uuuu-MM-dd'T'HH:mm:ss.SSSX").withZone(ZoneOffset.UTC);

  private final StringBuilder json = new StringBuilder("{\"targets\": [");

  private TargetsJson() {}

  static String of(List<TargetStatus> statuses) {
    TargetsJson writer = new TargetsJson();
    String separator = "";
    for (TargetStatus status : statuses) {
      writer.json.append(separator);
      writer.target(status);
      separator = ",";
    }
    return writer.json.append("\n]}\n").toString();
  }

  private void target(TargetStatus status) {
    json.append("\n{\"name\": ");
    text(status.name());
    json.append(", \"kind\": ");
    text(status.kind().text());
    json.append(", \"state\": ");
    text(status.state().text());
    json.append(", \"title\": ");
    text(status.title());
    json.append(", \"pid\": ");
    json.append(status.pid() == TargetStatus.UNKNOWN ? "null" : Long.toString(status.pid()));
    json.append(", \"state_since\": ");
    text(MOMENT.format(Instant.ofEpochMilli(status.sinceWallMillis())));
    json.append(", \"last_error\": ");
    textOrNull(status.lastError());
    json.append(", \"samples\": ").append(status.samples());
    json.append(", \"failures\": ").append(status.failures());
    json.append(", \"tables\": [");
    String separator = "";
    for (WorkTime time : status.times()) {
      json.append(separator).append("{\"name\": ");
      text(time.table());
      json.append(", \"last_duration_ms\": ").append(time.lastMillis());
      json.append(", \"max_duration_ms\": ").append(time.maxMillis()).append('}');
      separator = ", ";
    }
    json.append("]}");
  }

  private void textOrNull(String text) {
    if (text.isEmpty()) {
      json.append("null");
    } else {
      text(text);
    }
  }

  private void text(String text) {
    json.append('"');
    for (int i = 0; i < text.length(); i++) {
      char c = text.charAt(i);
      if (c == '"' || c == '\\') {
        json.append('\\').append(c);
      } else if (c < ' ' || c == 0x7F || Character.isSurrogate(c)) {
        // Half of a pair would not survive the encoding.
        json.append(String.format("\\u%04x", (int) c));
      } else {
        json.append(c);
      }
    }
    json.append('"');
  }
}
