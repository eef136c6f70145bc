package bench;

import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Row;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;

/**
 * What the measurements ask an agent for: rows of eight columns, events as fast as they are taken,
 * and a page that costs nothing to make.
 */
public final class BenchApplication implements Application {
  private static final int[] ROWS = {1, 100, 1000};
  private static final int PAGE_BYTES = 2048;
  private static final long LONGEST_WAIT_MS = 3_600_000;
  private static final Column HANDED = Columns.int64("HANDED");
  private static final Column SENT = Columns.int64("SENT");
  private static final Column LOST = Columns.int64("LOST");
  private static final Column RUNNING = Columns.int32("RUNNING");

  private EventTable events;
  private volatile boolean emitting;
  private volatile long handed;

  /** Made by the toolkit, from the name in the options file. */
  public BenchApplication() {}

  @Override
  public void configure(Agent agent) {
    for (int rows : ROWS) {
      agent.table(mixed("VALUES_" + rows).build(), (request, sink) -> fill(sink, rows));
    }
    events = agent.eventTable(mixed(TableDefinition.builder("BENCH_EVENTS").events()).build());
    agent.table(
        TableDefinition.builder("BENCH_COUNTS")
            .column(HANDED).column(SENT).column(LOST).column(RUNNING).build(),
        (request, sink) -> count(sink.row()));
    agent.action("emit", request -> emit(Long.parseLong(request.arguments().get(0))));
    WebResponse page = WebResponse.html(page());
    agent.web("/fixed", request -> page);
  }

  private static TableDefinition.Builder mixed(String name) {
    return mixed(TableDefinition.builder(name));
  }

  private static TableDefinition.Builder mixed(TableDefinition.Builder table) {
    return table
        .column(Columns.int64("USED")).column(Columns.int64("COMMITTED"))
        .column(Columns.int64("MOST")).column(Columns.int32("COUNT"))
        .column(Columns.int32("ERRORS")).column(Columns.int32("PERCENT"))
        .column(Columns.utf8("NAME", 32)).column(Columns.characters("STATE", 8));
  }

  private static void fill(RowSink sink, int rows) {
    for (int i = 0; i < rows; i++) {
      cells(sink.row(), 0, i);
    }
  }

  private static void cells(Row row, int first, int number) {
    row.set(first, number * 1_000_003L)
        .set(first + 1, number * 2_000_003L)
        .set(first + 2, number * 3_000_003L)
        .set(first + 3, number)
        .set(first + 4, number % 7)
        .set(first + 5, number % 100)
        .set(first + 6, "the name of a thing")
        .set(first + 7, "RUNNABLE");
  }

  private void count(Row row) {
    // What was handed over is read first: it can only grow meanwhile.
    row.set(RUNNING, emitting ? 1 : 0).set(HANDED, handed).set(SENT, events.emitted())
        .set(LOST, events.lost());
  }

  /** Hands events over for some milliseconds, each as soon as there is room; one at least. */
  private ActionResult emit(long millis) {
    emitting = true;
    long end = System.nanoTime() + millis * 1_000_000;
    Thread thread = new Thread(() -> emitUntil(end), "bench-events");
    thread.setDaemon(true);
    thread.start();
    return ActionResult.ok("emitting");
  }

  private void emitUntil(long end) {
    try {
      do {
        int number = (int) handed;
        events.emit(row -> cells(row, 1, number), LONGEST_WAIT_MS);
        handed = handed + 1;
      } while (System.nanoTime() - end < 0);
    } catch (InterruptedException interrupt) {
      Thread.currentThread().interrupt();
    } finally {
      emitting = false;
    }
  }

  private static String page() {
    StringBuilder page = new StringBuilder("<!DOCTYPE html><title>A page</title><p>");
    while (page.length() < PAGE_BYTES) {
      page.append((char) ('a' + page.length() % 26));
    }
    return page.toString();
  }
}
