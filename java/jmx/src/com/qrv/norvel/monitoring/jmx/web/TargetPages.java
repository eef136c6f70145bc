package com.qrv.norvel.monitoring.jmx.web;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.monitored.MonitoredJvm;
import com.qrv.norvel.monitoring.jmx.monitored.TargetException;
import com.qrv.norvel.monitoring.jmx.monitored.TargetState;
import com.qrv.norvel.monitoring.jmx.monitored.TargetStatus;
import com.qrv.norvel.monitoring.jmx.monitored.WorkTime;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.toolkit.agent.MediaType;
import com.qrv.norvel.monitoring.toolkit.agent.WebHandler;
import com.qrv.norvel.monitoring.toolkit.agent.WebRequest;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import java.net.URLEncoder;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Locale;

/**
 * The pages below the agent's service: {@code /} and {@code /targets.json} show the targets, {@code
 * /attributes?target=NAME} measures the attributes of one. They only read.
 */
public final class TargetPages implements WebHandler {
  private static final int SLOWEST = 20;
  private static final int MAX_UNREAD = 200;
  private static final int NOT_FOUND = 404;
  private static final int UNAVAILABLE = 503;

  private final TargetBoard board;
  private final BeanTable[] tables;
  private final long budgetMillis;

  /** @param budgetMillis how long measuring the attributes of one target may take */
  public TargetPages(TargetBoard board, BeanTable[] tables, long budgetMillis) {
    this.board = board;
    this.tables = tables.clone();
    this.budgetMillis = budgetMillis;
  }

  @Override
  public WebResponse answer(WebRequest request) throws InterruptedException {
    return switch (request.path()) {
      case "/" -> WebResponse.html(overview(board.statuses()));
      case "/targets.json" -> WebResponse.json(TargetsJson.of(board.statuses()));
      case "/attributes" -> attributes(request.parameters().get("target", ""));
      default -> notFound("There is no page " + request.path() + ".");
    };
  }

  private static String overview(List<TargetStatus> statuses) {
    Page page = new Page("Monitored JVMs");
    page.table("Targets", "Name", "Kind", "State", "Since", "Last error", "#Samples", "#Failures");
    for (TargetStatus status : statuses) {
      String target = URLEncoder.encode(status.name(), StandardCharsets.UTF_8);
      page.row().linkCell("attributes?target=" + target, status.name());
      page.cell(status.kind().text());
      if (status.state() == TargetState.UP) {
        page.cell(status.state().text());
      } else {
        page.badCell(status.state().text());
      }
      page.cell(Page.moment(status.sinceWallMillis())).cell(status.lastError());
      page.number(Long.toString(status.samples())).number(Long.toString(status.failures()));
      page.endRow();
    }
    page.endTable();
    page.table("Milliseconds per table", "Target", "Table", "#Last", "#Longest");
    for (TargetStatus status : statuses) {
      for (WorkTime time : status.times()) {
        page.row().cell(status.name()).cell(time.table());
        page.number(Long.toString(time.lastMillis())).number(Long.toString(time.maxMillis()));
        page.endRow();
      }
    }
    page.endTable();
    page.paragraph("Choose a target to measure its attributes one by one.");
    return page.link("targets.json", "The same as JSON").finish();
  }

  private WebResponse attributes(String name) throws InterruptedException {
    MonitoredJvm target = board.find(name);
    if (target == null) {
      return notFound("There is no target " + name + ".");
    }
    AttributeTimes.Result result;
    try {
      result = target.work("attributes", new AttributeTimes(tables, Clock.SYSTEM, budgetMillis));
    } catch (TargetException e) {
      Page page = new Page("The attributes of " + name + " can't be measured");
      String html = page.paragraph(e.getMessage()).link("./", "All targets").finish();
      return WebResponse.of(UNAVAILABLE, MediaType.HTML, html);
    }
    return WebResponse.html(measured(name, result));
  }

  private static String measured(String name, AttributeTimes.Result result) {
    List<AttributeTimes.Time> slowest = new ArrayList<>(result.times());
    slowest.sort(Comparator.comparingLong(AttributeTimes.Time::micros).reversed());
    Page page = new Page("Attributes of " + name);
    page.paragraph(
        result.times().size() + " attributes of the tables were read one by one"
            + (result.isComplete() ? "." : "; there was not enough time for the rest."));
    page.table("The slowest", "MBean", "Attribute", "#Milliseconds");
    for (AttributeTimes.Time time : slowest.subList(0, Math.min(SLOWEST, slowest.size()))) {
      page.row().cell(time.bean()).cell(time.attribute());
      page.number(String.format(Locale.ROOT, "%.3f", time.micros() / 1000.0)).endRow();
    }
    page.endTable();
    page.table("Those that can't be read", "MBean", "Attribute", "Why");
    int unread = 0;
    for (AttributeTimes.Time time : result.times()) {
      if (time.failure() != null && ++unread <= MAX_UNREAD) {
        page.row().cell(time.bean()).cell(time.attribute()).cell(time.failure()).endRow();
      }
    }
    return page.endTable().link("./", "All targets").finish();
  }

  private static WebResponse notFound(String why) {
    String html = new Page("Not found").paragraph(why).link("./", "All targets").finish();
    return WebResponse.of(NOT_FOUND, MediaType.HTML, html);
  }
}
