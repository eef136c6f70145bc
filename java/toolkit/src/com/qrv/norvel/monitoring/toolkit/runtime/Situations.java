package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Condition;
import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import com.qrv.norvel.monitoring.toolkit.agent.SituationHandler;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.concurrent.Executor;

/**
 * What the native side says of situations.
 *
 * <p>Tables and handlers are added while the application is configured, and constant from then on.
 */
final class Situations {
  private final Executor threads;
  private final BoundedCalls calls;
  private final BoundedCalls.FatalListener fatalListener;
  private final AgentLog log;
  private final HashMap<String, Table> eventTables = new HashMap<String, Table>();
  private final HashSet<String> sampledTables = new HashSet<String>();
  private final HashMap<String, SituationWatch> sampledWatches =
      new HashMap<String, SituationWatch>(); // guarded by itself
  private SituationTeller sampledTeller;

  Situations(
      Executor threads,
      BoundedCalls calls,
      BoundedCalls.FatalListener fatalListener,
      AgentLog log) {
    this.threads = threads;
    this.calls = calls;
    this.fatalListener = fatalListener;
    this.log = log;
  }

  /** Adds an event table. The handler may be null. */
  SituationWatch addEventTable(TableDefinition table, SituationHandler handler) {
    Table added = new Table(table.deadlineMs(), handler == null ? null : teller(handler));
    eventTables.put(table.name(), added);
    return added.watch;
  }

  void addSampledTable(String table) {
    sampledTables.add(table);
  }

  /** Names who is told of situations on sampled tables. */
  void tellOfSampledTables(SituationHandler handler) {
    if (handler == null) {
      throw new IllegalArgumentException("a handler of situations may not be null");
    }
    if (sampledTeller != null) {
      throw new IllegalStateException("a handler of situations is already set");
    }
    sampledTeller = teller(handler);
  }

  /** A watch of an event table asks to be armed. Its rows are pushed, so the reply has none. */
  HashMap<Integer, Object> serve(Fields body)
      throws RequestFailedException, MalformedMessageException {
    Situation situation = requested(body);
    Table table = eventTables.get(situation.table());
    if (table == null) {
      throw RequestFailedException.ordinary("table " + situation.table() + " has no events");
    }
    // Without a name it is a report, or the table is only being described: nobody watches, and no
    // end will come. The end of any other watch comes as a change of state too, and counts there.
    if (!situation.name().isEmpty() && body.flag(Keys.Situation.START)) {
      SituationCall call = table.watch.requested(situation);
      if (call != null) {
        table.teller.await(call, table.deadlineMs);
      }
    }
    HashMap<Integer, Object> reply = new HashMap<Integer, Object>();
    reply.put(Keys.SituationReply.ROWS, new ArrayList<Object>());
    return reply;
  }

  /** A watch has started or ended. */
  void stateChanged(Fields body) throws MalformedMessageException {
    String name = body.text(Keys.SituationState.SITUATION);
    String tableName = body.text(Keys.SituationState.TABLE);
    boolean started = body.integer(Keys.SituationState.STARTED) != 0;
    log.detail(
        "Situation " + name + " on table " + tableName + (started ? " started" : " stopped"));
    SituationWatch watch = watchOf(tableName);
    if (watch == null || name.isEmpty()) {
      return;
    }
    if (started) {
      watch.started(
          new Situation(
              name,
              tableName,
              body.integer(Keys.SituationState.INTERVAL),
              body.flag(Keys.SituationState.HISTORY),
              body.flag(Keys.SituationState.AUTOMATION),
              new ArrayList<Condition>(),
              new ArrayList<String>()));
    } else {
      watch.ended(name);
    }
  }

  private SituationTeller teller(SituationHandler handler) {
    return new SituationTeller(handler, threads, calls, fatalListener, log);
  }

  private SituationWatch watchOf(String table) {
    Table events = eventTables.get(table);
    if (events != null) {
      return events.watch;
    }
    if (sampledTeller == null || !sampledTables.contains(table)) {
      return null;
    }
    synchronized (sampledWatches) {
      SituationWatch watch = sampledWatches.get(table);
      if (watch == null) {
        watch = new SituationWatch(false, sampledTeller);
        sampledWatches.put(table, watch);
      }
      return watch;
    }
  }

  private static Situation requested(Fields body) throws MalformedMessageException {
    return new Situation(
        body.text(Keys.Situation.SITUATION),
        body.text(Keys.Situation.TABLE),
        body.integer(Keys.Situation.INTERVAL),
        body.flag(Keys.Situation.HISTORY),
        body.flag(Keys.Situation.AUTOMATION),
        conditions(body.list(Keys.Situation.FILTERS)),
        Blanks.trimEnds(body.texts(Keys.Situation.SUBNODES)));
  }

  private static ArrayList<Condition> conditions(ArrayList<?> list)
      throws MalformedMessageException {
    ArrayList<Condition> conditions = new ArrayList<Condition>(list.size());
    for (int i = 0; i < list.size(); i++) {
      Fields condition = Fields.of("condition of a situation", list.get(i));
      conditions.add(
          new Condition(
              condition.text(Keys.SituationFilter.COLUMN),
              condition.integer(Keys.SituationFilter.OPERATOR),
              condition.text(Keys.SituationFilter.VALUE)));
    }
    return conditions;
  }

  /** Nobody to tell. */
  private static final class Silence implements SituationWatch.Listener {
    @Override
    public SituationCall armed(Situation situation) {
      return null;
    }

    @Override
    public void disarmed(Situation situation) {
      // As little as before.
    }
  }

  private static final class Table {
    final long deadlineMs;
    final SituationTeller teller; // may be null
    final SituationWatch watch;

    Table(long deadlineMs, SituationTeller teller) {
      this.deadlineMs = deadlineMs;
      this.teller = teller;
      watch = new SituationWatch(true, teller == null ? new Silence() : teller);
    }
  }
}
