package e2e;

import com.qrv.norvel.monitoring.toolkit.agent.ActionResult;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import java.io.File;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.concurrent.locks.LockSupport;
import java.util.stream.Collectors;

/** An application whose tables do, when they are sampled, what their names say. */
public final class TestApplication implements Application {
  private static final Column DONE = Columns.int32("DONE");

  private final AtomicBoolean stormBegun = new AtomicBoolean();

  /** Made by the toolkit, from the name in the options file. */
  public TestApplication() {}

  @Override
  public void configure(Agent agent) {
    String status = new File("var/daemon").getAbsolutePath();
    agent.table(
        TableDefinition.builder("SPAWN").column(DONE).build(),
        (request, rows) -> {
          agent.daemons().start(
              DaemonCommand.of("/bin/cat").arg("/proc/self/status").stdout(status).build());
          rows.row().set(DONE, 1);
        });
    agent.table(
        TableDefinition.builder("STOP").column(DONE).build(),
        (request, rows) -> {
          agent.stop("a table asked for it");
          rows.row().set(DONE, 1);
        });
    agent.table(
        TableDefinition.builder("EXIT").column(DONE).build(),
        (request, rows) -> System.exit(7));
    EventTable events =
        agent.eventTable(TableDefinition.builder("EVENTS").events().column(DONE).build());
    agent.table(
        TableDefinition.builder("STORM").column(DONE).build(),
        (request, rows) -> {
          if (!stormBegun.getAndSet(true)) {
            startStorm(events);
          }
          rows.row().set(DONE, 1);
        });
    agent.action("spell", request -> ActionResult.ok(spell(request.arguments().get(0))));
    agent.web(
        "/spell",
        request -> WebResponse.text(spell(request.pathBelow()) + "\n" + spell(request.content())));
    agent.table(
        TableDefinition.builder("EXIT_0").column(DONE).build(),
        (request, rows) -> System.exit(0));
    agent.table(
        TableDefinition.builder("FAIL").column(DONE).build(),
        (request, rows) -> {
          throw new AssertionError("a collector went wrong");
        });
  }

  /** Events without pause, as long as the process lives. */
  private static void startStorm(EventTable events) {
    Thread storm =
        new Thread(
            () -> {
              while (true) {
                events.offer(row -> row.set(DONE, 1));
                LockSupport.parkNanos(100_000);
              }
            });
    storm.setDaemon(true);
    storm.start();
  }

  /** A text, and its code points in hexadecimal. */
  private static String spell(String text) {
    return text
        + " ="
        + text.codePoints()
            .mapToObj(point -> String.format(" %X", point))
            .collect(Collectors.joining());
  }
}
