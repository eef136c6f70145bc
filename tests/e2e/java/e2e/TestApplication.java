package e2e;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.io.File;

/** An application whose tables do, when they are sampled, what their names say. */
public final class TestApplication implements Application {
  private static final Column DONE = Columns.int32("DONE");

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
    agent.table(
        TableDefinition.builder("EXIT_0").column(DONE).build(),
        (request, rows) -> System.exit(0));
    agent.table(
        TableDefinition.builder("FAIL").column(DONE).build(),
        (request, rows) -> {
          throw new AssertionError("a collector went wrong");
        });
  }
}
