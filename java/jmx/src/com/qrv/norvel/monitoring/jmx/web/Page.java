package com.qrv.norvel.monitoring.jmx.web;

import com.qrv.norvel.monitoring.toolkit.agent.Html;
import java.time.Instant;
import java.time.temporal.ChronoUnit;

/** Writes one page: the frame, and tables whose cells are safe. Needs nothing from elsewhere. */
final class Page {
  private static final String HEAD =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
          + "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<style>\n"
          + ":root{color-scheme:light dark;--line:#8884;--soft:#8882}\n"
          + "body{font:15px/1.5 system-ui,sans-serif;margin:2rem auto;max-width:72rem;"
          + "padding:0 1rem}\n"
          + "table{border-collapse:collapse;margin:1rem 0;width:100%}\n"
          + "caption{font-weight:600;text-align:left;padding:.3rem 0}\n"
          + "th,td{border-bottom:1px solid var(--line);padding:.3rem .6rem;text-align:left;"
          + "vertical-align:top}\n"
          + "td.number,th.number{text-align:right;font-variant-numeric:tabular-nums}\n"
          + "thead th{background:var(--soft)}\n"
          + "td.bad{color:#b3261e;font-weight:600}\n"
          + "@media (prefers-color-scheme:dark){td.bad{color:#ffb4ab}}\n"
          + "</style>\n";

  private final StringBuilder html = new StringBuilder(HEAD);

  Page(String title) {
    String safe = Html.escape(title);
    html.append("<title>").append(safe).append("</title>\n</head>\n<body>\n<main>\n<h1>")
        .append(safe).append("</h1>\n");
  }

  Page paragraph(String text) {
    html.append("<p>").append(Html.escape(text)).append("</p>\n");
    return this;
  }

  Page link(String address, String text) {
    html.append("<p><a href=\"").append(Html.escape(address)).append("\">")
        .append(Html.escape(text)).append("</a></p>\n");
    return this;
  }

  /** Begins a table; a column whose name begins with "#" holds numbers. */
  Page table(String caption, String... columns) {
    html.append("<table>\n<caption>").append(Html.escape(caption))
        .append("</caption>\n<thead><tr>");
    for (String column : columns) {
      boolean isNumber = column.startsWith("#");
      html.append(isNumber ? "<th scope=\"col\" class=\"number\">" : "<th scope=\"col\">")
          .append(Html.escape(isNumber ? column.substring(1) : column)).append("</th>");
    }
    html.append("</tr></thead>\n<tbody>\n");
    return this;
  }

  Page row() {
    html.append("<tr>");
    return this;
  }

  Page cell(String text) {
    return cell("<td>", text);
  }

  Page badCell(String text) {
    return cell("<td class=\"bad\">", text);
  }

  Page number(String text) {
    return cell("<td class=\"number\">", text);
  }

  /** A cell that leads elsewhere. */
  Page linkCell(String address, String text) {
    html.append("<td><a href=\"").append(Html.escape(address)).append("\">")
        .append(Html.escape(text)).append("</a></td>");
    return this;
  }

  private Page cell(String open, String text) {
    html.append(open).append(Html.escape(text)).append("</td>");
    return this;
  }

  Page endRow() {
    html.append("</tr>\n");
    return this;
  }

  Page endTable() {
    html.append("</tbody>\n</table>\n");
    return this;
  }

  String finish() {
    return html.append("</main>\n</body>\n</html>\n").toString();
  }

  /** A point in time, for people: "2026-05-04 17:03:59 UTC". */
  static String moment(long wallMillis) {
    String text = Instant.ofEpochMilli(wallMillis).truncatedTo(ChronoUnit.SECONDS).toString();
    return text.replace('T', ' ').replace("Z", " UTC");
  }
}
