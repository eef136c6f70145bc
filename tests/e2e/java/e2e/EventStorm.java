package e2e;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;

/**
 * Events without pause, whether somebody listens or not, of a subnode that comes and goes all the
 * time. Begins with the first sample of the table {@code STORM}, whose row tells how many events
 * there have been.
 */
final class EventStorm {
  private static final String FLAPPING = "flapping";

  private final Agent agent;
  private final EventTable table;
  private long number; // guarded by this
  private boolean begun; // guarded by this

  EventStorm(Agent agent) {
    this.agent = agent;
    table =
        agent.eventTable(
            TableDefinition.builder("EVENTS")
                .perSubnode()
                .events()
                .column(HostileApplication.NUMBER)
                .build());
    agent.table(
        TableDefinition.builder("STORM").column(HostileApplication.NUMBER).build(),
        (request, rows) -> rows.row().set(HostileApplication.NUMBER, beginOnce()));
  }

  /** An event of a subnode that may be there or not. */
  synchronized void tellOf(String subnode) {
    long next = ++number;
    table.offer(subnode, row -> row.set(HostileApplication.NUMBER, next));
  }

  private synchronized long beginOnce() {
    if (!begun) {
      begun = true;
      start("events", () -> tellOf(FLAPPING), 1);
      start("flapping", this::flap, 3);
    }
    return number;
  }

  private void flap() {
    agent.subnodes().register(Subnode.named(FLAPPING));
    tellOf(FLAPPING);
    agent.subnodes().deregister(FLAPPING);
    tellOf(FLAPPING);
  }

  private static void start(String name, Runnable action, long pauseMs) {
    Thread thread =
        new Thread(
            () -> {
              try {
                while (true) {
                  action.run();
                  Thread.sleep(pauseMs);
                }
              } catch (InterruptedException end) {
                Thread.currentThread().interrupt();
              }
            },
            name);
    thread.setDaemon(true);
    thread.start();
  }
}
