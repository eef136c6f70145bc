package e2e;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.Column;
import com.qrv.norvel.monitoring.toolkit.agent.Columns;
import com.qrv.norvel.monitoring.toolkit.agent.RowSink;
import com.qrv.norvel.monitoring.toolkit.agent.SampleRequest;
import com.qrv.norvel.monitoring.toolkit.agent.Sampler;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.concurrent.TimeUnit;

/**
 * Collectors that misbehave as the names of their tables say, beside two that are well: one of the
 * agent itself, one of the subnodes {@code steady} and {@code leaving}. The tables of {@link Lie}
 * are here too; they lie only behind the server that tells lies.
 */
public final class HostileApplication implements Application {
  static final Column NUMBER = Columns.int32("NUMBER");
  static final Column TEXT = Columns.characters("TEXT", 8);

  private static final String STEADY = "steady";
  private static final String LEAVING = "leaving";
  private static final int SHORT_DEADLINE_MS = 200;
  private static final int MANY_ROWS = 1_000_000;

  private final Stops stops = new Stops();
  private Agent agent;
  private EventStorm events;

  /** Made by the toolkit, from the name in the options file. */
  public HostileApplication() {}

  @Override
  public void configure(Agent created) {
    agent = created;
    stops.begin(created);
    events = new EventStorm(created);
    table("WELL", HostileApplication::addTwoRows);
    own("WELL_SUBNODE", HostileApplication::addTwoRows);
    table("SLOW", (request, rows) -> {
      Thread.sleep(150);
      addTwoRows(request, rows);
    });
    agent.table(
        define("LATE").deadlineMs(SHORT_DEADLINE_MS).build(),
        (request, rows) -> {
          sleepThroughInterrupts(10 * SHORT_DEADLINE_MS);
          addTwoRows(request, rows);
        });
    agent.table(
        define("NEVER").deadlineMs(SHORT_DEADLINE_MS).build(),
        (request, rows) -> sleepThroughInterrupts(Long.MAX_VALUE));
    table("LEAKS", HostileApplication::keepTheSink);
    agent.table(
        define("MANY").maxRows(2 * MANY_ROWS).build(),
        (request, rows) -> {
          for (int i = 0; i < MANY_ROWS; i++) {
            rows.row().set(0, i);
          }
        });
    own("FOREIGN", (request, rows) -> rows.row("somebody else"));
    own("GONE", this::leaveWhileSampled);
    addThrowing();
    for (Lie lie : Lie.values()) {
      if (lie == Lie.FOREIGN) {
        own(lie.table(), HostileApplication::addTwoRows);
      } else {
        table(lie.table(), HostileApplication::addTwoRows);
      }
    }
  }

  private void addThrowing() {
    table("STACK", (request, rows) -> rows.row().set(NUMBER, depth(0)));
    table("MEMORY", (request, rows) -> rows.row().set(NUMBER, new long[Integer.MAX_VALUE].length));
    table("THROW_OUT_OF_MEMORY", (request, rows) -> {
      throw new OutOfMemoryError("not really");
    });
    table("THROW_UNSPEAKABLE", (request, rows) -> {
      throw new Unspeakable();
    });
    table("THROW_HALF_WAY", (request, rows) -> {
      addTwoRows(request, rows);
      throw new LinkageError("after two rows");
    });
  }

  @Override
  public void started() throws InterruptedException {
    agent.subnodes().register(Subnode.named(STEADY));
    agent.subnodes().register(Subnode.named(LEAVING));
    stops.failStart();
  }

  private void table(String name, Sampler sampler) {
    agent.table(define(name).build(), checked(sampler));
  }

  private void own(String name, Sampler sampler) {
    agent.table(
        TableDefinition.builder(name).perSubnode().column(NUMBER).column(TEXT).build(),
        checked(sampler));
  }

  private Sampler checked(Sampler sampler) {
    return (request, rows) -> {
      stops.failSample();
      sampler.sample(request, rows);
    };
  }

  private static TableDefinition.Builder define(String name) {
    return TableDefinition.builder(name).column(NUMBER).column(TEXT);
  }

  private static void addTwoRows(SampleRequest request, RowSink rows) {
    for (int number = 1; number <= 2; number++) {
      rows.row().set(NUMBER, number).set(TEXT, "well");
    }
  }

  /** Goes on adding rows, on another thread, while the answer is on its way and after that. */
  private static void keepTheSink(SampleRequest request, RowSink rows) {
    addTwoRows(request, rows);
    Thread thief =
        new Thread(
            () -> {
              long end = System.nanoTime() + TimeUnit.MILLISECONDS.toNanos(300);
              while (System.nanoTime() < end) {
                rows.row().set(NUMBER, 3).set(TEXT, "leaked");
              }
            },
            "thief");
    thief.setUncaughtExceptionHandler((thread, refused) -> {});
    thread(thief);
  }

  private static void thread(Thread thread) {
    thread.setDaemon(true);
    thread.start();
  }

  /** The subnode goes and comes back while its sample runs; the rows are late for the one, early
   * for the other. */
  private void leaveWhileSampled(SampleRequest request, RowSink rows) throws Exception {
    addTwoRows(request, rows);
    String name = request.subnode();
    agent.subnodes().deregister(name);
    events.tellOf(name);
    Thread.sleep(100);
    events.tellOf(name);
    agent.subnodes().register(Subnode.named(name));
  }

  private static int depth(int level) {
    return 1 + depth(level + 1);
  }

  private static void sleepThroughInterrupts(long milliseconds) {
    long begin = System.nanoTime();
    while (TimeUnit.NANOSECONDS.toMillis(System.nanoTime() - begin) < milliseconds) {
      try {
        Thread.sleep(20);
      } catch (InterruptedException ignored) {
        // That is what it is for.
      }
    }
  }

  /** An error that can't be told. */
  private static final class Unspeakable extends Error {
    private static final long serialVersionUID = 1L;

    @Override
    public String getMessage() {
      throw new IllegalStateException("no message");
    }

    @Override
    public StackTraceElement[] getStackTrace() {
      throw new StackOverflowError("no trace");
    }

    @Override
    public String toString() {
      throw new OutOfMemoryError("no text");
    }
  }
}
