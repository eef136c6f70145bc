package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentInfo;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.bridge.Dispatcher;
import com.qrv.norvel.monitoring.toolkit.bridge.ProcessNatives;
import com.qrv.norvel.monitoring.toolkit.bridge.Transport;
import com.qrv.norvel.monitoring.toolkit.workbench.osutils.DaemonWBProcess;
import java.util.concurrent.Executor;

/**
 * Puts the parts together.
 *
 * <p>The agent's first rows wait for what happens from here to the first sample. On that way there
 * are no lambdas, streams, formatters or patterns, and nothing is logged unless it fails: each of
 * these loads classes by the dozen.
 */
public final class Toolkit {
  static final String COMPONENT = "TOOLKIT";
  static final String NAME = "zel-toolkit 1";

  /** How many threads the application's code may occupy. */
  private static final String MAX_THREADS_PROPERTY = "zel.threads.max";

  private static final int DEFAULT_MAX_THREADS = 256;

  /** How many rows of events may be sent in a second, on average. */
  private static final String MAX_RATE_PROPERTY = "zel.events.rate";

  private static final int DEFAULT_MAX_RATE = 50_000;

  private Toolkit() {}

  /** Builds the Java side on a transport, for the application that a system property names. */
  public static Dispatcher start(Transport transport) {
    TraceSink sink = new RasSink();
    Clock clock = new SystemClock();
    int max = Math.max(1, Integer.getInteger(MAX_THREADS_PROPERTY, DEFAULT_MAX_THREADS));
    WorkerThreads samplers =
        new WorkerThreads("zel-app", max, clock, log(sink, WorkerThreads.class));
    // Threads of their own, so that no number of stuck actions keeps a sample waiting.
    WorkerThreads handlers =
        new WorkerThreads("zel-handler", max, clock, log(sink, WorkerThreads.class));
    return assemble(
        transport,
        sink,
        clock,
        samplers,
        handlers,
        new DaemonWBProcess(),
        new NamedApplication(System.getProperty(NamedApplication.PROPERTY)));
  }

  static Dispatcher assemble(
      Transport transport,
      TraceSink sink,
      Clock clock,
      Executor samplers,
      Executor handlers,
      ProcessNatives natives,
      ApplicationSource source) {
    AgentLog log = log(sink, AgentRuntime.class);
    NotificationSender notifications =
        new NotificationSender(transport, clock, log(sink, NotificationSender.class));
    AgentRuntime.StopOnFatal fatal = new AgentRuntime.StopOnFatal(notifications, log);
    EventSender events = events(notifications, clock, sink);
    BoundedCalls calls = new BoundedCalls(clock, samplers, log(sink, BoundedCalls.class), fatal);
    ApplicationLife life =
        new ApplicationLife(
            source,
            new Agents(
                sink,
                notifications,
                events,
                handlers(handlers, calls, fatal, sink),
                new RunningDaemons(natives, null)),
            calls,
            samplers,
            fatal,
            log(sink, ApplicationLife.class),
            NAME);
    AgentRuntime runtime = new AgentRuntime(life, calls, notifications, events, log);
    return new Dispatcher(transport, runtime, log(sink, Dispatcher.class));
  }

  private static EventSender events(NotificationSender notifications, Clock clock, TraceSink sink) {
    int rate = Math.max(1, Integer.getInteger(MAX_RATE_PROPERTY, DEFAULT_MAX_RATE));
    EventSender events =
        new EventSender(
            notifications, clock, new Pace(clock, rate), log(sink, EventSender.class));
    notifications.onSent(events);
    return events;
  }

  private static Handlers handlers(
      Executor threads, BoundedCalls calls, BoundedCalls.FatalListener fatal, TraceSink sink) {
    return new Handlers(
        new Actions(calls, threads, log(sink, Actions.class)),
        new Pages(calls, threads),
        new Situations(threads, calls, fatal, log(sink, Situations.class)));
  }

  private static AgentLog log(TraceSink sink, Class<?> source) {
    return new TraceLog(sink, COMPONENT, source);
  }

  private static final class Agents implements ApplicationLife.AgentFactory {
    private final TraceSink sink;
    private final NotificationSender notifications;
    private final EventSender events;
    private final Handlers handlers;
    private final RunningDaemons daemons;

    Agents(
        TraceSink sink,
        NotificationSender notifications,
        EventSender events,
        Handlers handlers,
        RunningDaemons daemons) {
      this.sink = sink;
      this.notifications = notifications;
      this.events = events;
      this.handlers = handlers;
      this.daemons = daemons;
    }

    @Override
    public RunningAgent create(AgentInfo info) {
      return new RunningAgent(
          info,
          sink,
          log(sink, RunningAgent.class),
          notifications,
          events,
          handlers,
          new SubnodeRegistry(notifications),
          daemons);
    }
  }
}
