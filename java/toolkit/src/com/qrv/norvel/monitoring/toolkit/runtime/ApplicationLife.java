package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentInfo;
import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import com.qrv.norvel.monitoring.toolkit.bridge.Failures;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.HashMap;
import java.util.concurrent.Executor;

/** Takes the application through its life: made, configured, started, stopped, each once. */
final class ApplicationLife {
  static final long CONFIGURE_MS = 60_000;
  static final long STOP_MS = 5_000;

  /** Makes what the application is handed. */
  interface AgentFactory {
    RunningAgent create(AgentInfo info);
  }

  private final ApplicationSource source;
  private final AgentFactory agents;
  private final BoundedCalls calls;
  private final Executor executor;
  private final BoundedCalls.FatalListener fatalListener;
  private final AgentLog log;
  private final String toolkit;
  private final Object turn = new Object(); // held while the application's own operations run
  private boolean initBegun; // guarded by this, as what follows
  private boolean startBegun;
  private boolean stopBegun;
  private RunningAgent agent;
  private Application application;

  /**
   * @param toolkit name and version of the toolkit, for the native side
   */
  ApplicationLife(
      ApplicationSource source,
      AgentFactory agents,
      BoundedCalls calls,
      Executor executor,
      BoundedCalls.FatalListener fatalListener,
      AgentLog log,
      String toolkit) {
    this.source = source;
    this.agents = agents;
    this.calls = calls;
    this.executor = executor;
    this.fatalListener = fatalListener;
    this.log = log;
    this.toolkit = toolkit;
  }

  /** The configured agent. */
  synchronized RunningAgent agent() throws RequestFailedException {
    if (agent == null) {
      throw RequestFailedException.ordinary("the application is not configured");
    }
    return agent;
  }

  /** Makes and configures the application, and describes what it declares. */
  HashMap<Integer, Object> init(Fields body)
      throws RequestFailedException, MalformedMessageException {
    String hostName = body.text(Keys.Init.HOST_NAME);
    AgentInfo info =
        new AgentInfo(
            body.text(Keys.Init.PRODUCT_CODE), body.text(Keys.Init.INSTANCE), hostName);
    synchronized (this) {
      if (initBegun) {
        throw RequestFailedException.ordinary("the application has been configured before");
      }
      initBegun = true;
    }
    RunningAgent created = agents.create(info);
    Configuration configuration = new Configuration(created);
    calls.call(
        "the start of the application", new String[] {"configure"}, CONFIGURE_MS, configuration);
    created.seal();
    synchronized (this) {
      agent = created;
      application = configuration.made;
    }
    HashMap<Integer, Object> reply = new HashMap<Integer, Object>();
    reply.put(Keys.InitReply.HOST_NAME, hostName);
    reply.put(Keys.InitReply.AGENT_AFFINITY, created.agentAffinity());
    reply.put(Keys.InitReply.VERSION_AFFINITY, created.versionAffinity());
    reply.put(Keys.InitReply.TOOLKIT, toolkit);
    reply.put(Keys.InitReply.TABLES, created.tableDescriptions());
    return reply;
  }

  /** Tells the application that the agent is up; returns at once. */
  void started() {
    synchronized (this) {
      if (startBegun || stopBegun || application == null) {
        return;
      }
      startBegun = true;
    }
    executor.execute(new Start(application()));
  }

  /** Tells the application that the agent ends, and waits for it within a bound. */
  void stopped() {
    final Application ending;
    synchronized (this) {
      if (stopBegun || application == null) {
        stopBegun = true;
        return;
      }
      stopBegun = true;
      ending = application;
    }
    try {
      calls.lastCall("the stop of the application", STOP_MS, new Stop(ending));
    } catch (RequestFailedException failure) {
      log.warning(failure.getMessage());
    }
  }

  private synchronized Application application() {
    return application;
  }

  private synchronized boolean isStopping() {
    return stopBegun;
  }

  private final class Configuration implements Task {
    private final RunningAgent created;
    private volatile Application made;

    Configuration(RunningAgent created) {
      this.created = created;
    }

    @Override
    public void run() throws Exception {
      synchronized (turn) {
        Application application = source.create();
        application.configure(created);
        made = application;
      }
    }
  }

  private final class Start implements Runnable {
    private final Application starting;

    Start(Application starting) {
      this.starting = starting;
    }

    @Override
    public void run() {
      try {
        synchronized (turn) {
          if (!isStopping()) {
            starting.started();
          }
        }
      } catch (FatalApplicationException fatal) {
        fatalListener.lateFatal("the application at its start: " + Failures.describe(fatal));
      } catch (Throwable failure) {
        log.error("the application failed once the agent was up", failure);
      }
    }
  }

  private final class Stop implements Task {
    private final Application ending;

    Stop(Application ending) {
      this.ending = ending;
    }

    @Override
    public void run() {
      synchronized (turn) {
        ending.stopped();
      }
    }
  }
}
