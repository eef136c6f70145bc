package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.jmx.action.TargetActions;
import com.qrv.norvel.monitoring.jmx.base.BoundedLog;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.config.ConfigFile;
import com.qrv.norvel.monitoring.jmx.config.JmxConfig;
import com.qrv.norvel.monitoring.jmx.daemon.DaemonStarter;
import com.qrv.norvel.monitoring.jmx.monitored.ConnectedJvm;
import com.qrv.norvel.monitoring.jmx.monitored.SelfJvm;
import com.qrv.norvel.monitoring.jmx.net.RmiPreload;
import com.qrv.norvel.monitoring.jmx.notify.BeanNotifications;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import com.qrv.norvel.monitoring.jmx.web.TargetPages;
import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;

/**
 * Monitors JVMs. Name it with {@code -Dzel.application} to run it; the file {@code config/jmx.yaml}
 * under the working directory, or the one that {@code -Dzel.jmx.config} names, says which JVMs.
 */
public final class JmxApplication implements Application {
  private Targets targets;

  /** Made by the toolkit. */
  public JmxApplication() {}

  /**
   * Declares the tables.
   *
   * @throws com.qrv.norvel.monitoring.jmx.config.ConfigException when the configuration has a
   *     mistake
   */
  @Override
  public void configure(Agent agent) throws Exception {
    JmxConfig config = ConfigFile.load();
    OperatorLog log =
        BoundedLog.ofAll(
            new TracedOperatorLog(agent.log(JmxApplication.class)), Clock.SYSTEM);
    if (!config.remote().isEmpty()) {
      RmiPreload.begin(config.calls().timeoutMillis(), log);
    }
    String product = agent.info().productCode();
    SelfJvm self = new SelfJvm("agent " + product, Clock.SYSTEM, log);
    TargetFactory factory = new JmxTargetFactory(config.calls(), Clock.SYSTEM, log);
    DaemonStarter daemons =
        new DaemonStarter(config.daemons(), agent.daemons(), Clock.SYSTEM, log);
    BeanNotifications notifications =
        new BeanNotifications(
            config.notifications(), Clock.SYSTEM, config.calls().timeoutMillis(), log);
    notifications.register(agent);
    targets =
        new Targets(config, self, factory, agent.subnodes(), daemons, notifications, log);
    // A target gives up by itself before that, with a better reason.
    long deadline = (ConnectedJvm.MAX_WAIT_CALLS + 1L) * config.calls().timeoutMillis();
    for (BeanTable table : StandardTables.all()) {
      OperatorLog own = BoundedLog.ofSource(log, Clock.SYSTEM);
      agent.table(BeanSampler.definition(table, deadline), new BeanSampler(table, targets, own));
    }
    agent.table(TargetsTable.DEFINITION, new TargetsTable(targets));
    long budget = config.calls().timeoutMillis() / 2;
    agent.web("/", deadline, new TargetPages(targets, StandardTables.all(), budget));
    new TargetActions(targets, config.actions())
        .register(agent, Math.max(deadline, TargetActions.MAX_MILLIS + 1000));
  }

  @Override
  public void started() {
    targets.start();
  }

  @Override
  public void stopped() {
    targets.close();
  }
}
