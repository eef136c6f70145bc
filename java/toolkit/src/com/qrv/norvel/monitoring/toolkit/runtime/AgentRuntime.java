package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import com.qrv.norvel.monitoring.toolkit.bridge.NotificationCode;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestCode;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestHandler;
import java.util.ArrayList;
import java.util.HashMap;

/**
 * Serves the requests of the native side with the application's help.
 *
 * <p>Requests come on threads of the native side, several at once. The application's code runs on
 * the toolkit's threads only, so that a thread of the native side never waits longer than a
 * deadline.
 */
final class AgentRuntime implements RequestHandler {
  private final ApplicationLife life;
  private final BoundedCalls calls;
  private final NotificationSender notifications;
  private final EventSender events;
  private final AgentLog log;

  AgentRuntime(
      ApplicationLife life,
      BoundedCalls calls,
      NotificationSender notifications,
      EventSender events,
      AgentLog log) {
    this.life = life;
    this.calls = calls;
    this.notifications = notifications;
    this.events = events;
    this.log = log;
  }

  @Override
  public HashMap<Integer, Object> handle(int code, Object body)
      throws RequestFailedException, MalformedMessageException {
    try {
      return serve(code, body);
    } catch (RequestFailedException failure) {
      if (failure.isCritical()) {
        // The answer makes the native side tear down its client, without another request.
        stop();
      }
      throw failure;
    }
  }

  private HashMap<Integer, Object> serve(int code, Object body)
      throws RequestFailedException, MalformedMessageException {
    switch (code) {
      case RequestCode.INIT:
        return life.init(Fields.of("init request", body));
      case RequestCode.START:
        return start();
      case RequestCode.TAKE_SAMPLE:
        return sample(Fields.of("sample request", body));
      case RequestCode.SHUTDOWN:
        return shutdown();
      case RequestCode.SITUATION_STATE_CHANGED:
        handlers().situations.stateChanged(Fields.of("change of a situation", body));
        return new HashMap<Integer, Object>();
      case RequestCode.TAKE_ACTION:
        return handlers().actions.serve(Fields.of("take-action request", body));
      case RequestCode.WEB_SERVICE:
        return handlers().pages.serve(Fields.of("web request", body));
      case RequestCode.SITUATION:
        return handlers().situations.serve(Fields.of("situation request", body));
      default:
        throw RequestFailedException.ordinary("unknown request code " + code);
    }
  }

  private Handlers handlers() throws RequestFailedException {
    return life.agent().handlers();
  }

  private HashMap<Integer, Object> start() {
    notifications.open();
    events.open();
    life.started();
    return new HashMap<Integer, Object>();
  }

  private HashMap<Integer, Object> sample(Fields body)
      throws RequestFailedException, MalformedMessageException {
    String name = body.text(Keys.Sample.TABLE);
    RunningAgent agent = life.agent();
    SampledTable table = agent.find(name);
    if (table == null) {
      if (agent.isEventTable(name)) {
        return sampleReply(new ArrayList<Object>(), 0); // Its rows come by themselves.
      }
      throw RequestFailedException.ordinary("no table " + name + " is declared");
    }
    IncomingSample request = new IncomingSample(table.layout.table, body);
    if (table.layout.table.isPerSubnode() && request.subnodes().isEmpty()) {
      return sampleReply(new ArrayList<Object>(), 0);
    }
    SampleRows rows = new SampleRows(table.layout, request, log);
    try {
      calls.call(
          request.title(),
          request.keys(),
          table.layout.table.deadlineMs(),
          new SampleTask(table, request, rows));
    } catch (RequestFailedException failure) {
      rows.close();
      throw failure;
    }
    return sampleReply(rows.finish(), table.layout.table.cacheSeconds());
  }

  private static HashMap<Integer, Object> sampleReply(ArrayList<Object> rows, int cacheSeconds) {
    HashMap<Integer, Object> reply = new HashMap<Integer, Object>();
    reply.put(Keys.SampleReply.ROWS, rows);
    reply.put(Keys.SampleReply.CACHE_SECONDS, Integer.valueOf(cacheSeconds));
    return reply;
  }

  private HashMap<Integer, Object> shutdown() {
    stop();
    life.stopped();
    return new HashMap<Integer, Object>();
  }

  private void stop() {
    calls.stop();
    events.close();
    notifications.close();
  }

  /** Tells the native side to stop, since the answer that should have said so is gone. */
  static final class StopOnFatal implements BoundedCalls.FatalListener {
    private final NotificationSender notifications;
    private final AgentLog log;

    StopOnFatal(NotificationSender notifications, AgentLog log) {
      this.notifications = notifications;
      this.log = log;
    }

    @Override
    public void lateFatal(String message) {
      log.error("the agent ends: " + message);
      notifications.send(NotificationCode.SHUTDOWN, new HashMap<Integer, Object>());
    }
  }

  private static final class SampleTask implements Task {
    private final SampledTable table;
    private final IncomingSample request;
    private final SampleRows rows;

    SampleTask(SampledTable table, IncomingSample request, SampleRows rows) {
      this.table = table;
      this.request = request;
      this.rows = rows;
    }

    @Override
    public void run() throws Exception {
      table.sampler.sample(request, rows);
    }
  }
}
