#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "actions/action_desk.h"
#include "agent/agent.h"
#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "basic/host_link.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/engine.h"
#include "engine/timer_queue.h"
#include "engine/worker_lane.h"
#include "events/event_logs.h"
#include "events/subscription_set.h"
#include "journal/journal.h"
#include "runtime/identity.h"
#include "runtime/service.h"
#include "runtime/subnode_registry.h"
#include "situations/situation_desk.h"
#include "tables/table_registrar.h"

namespace fw {

/// The framework as a whole: the main loop, and what the agent registers with it.
///
/// A process has one at a time: the operations of the seam reach the newest. Its own is never
/// destroyed, because threads of a collector that does not return may still run in it when the
/// process ends.
class Runtime final : public Agent, public TableRegistrar {
 public:
  using Loader = int (*)();
  using ServiceFactory = std::function<std::unique_ptr<Service>(const ServiceContext& context)>;

  /// Everything outlives the runtime.
  Runtime(const AgentConfig& config, Clock& clock, HostLink& host, ServiceFactory services);
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;
  /// Waits for every callback, however long it takes.
  ~Runtime() override;

  /// The runtime that the seam's operations reach; makes the process's own when there is none.
  static Runtime& current();

  Identity& identity() { return identity_; }
  SubnodeRegistry& subnodeRegistry() { return subnodes_; }

  void setLoader(Loader loader);
  void setCommandCallback(CommandCallback callback);

  /// The main loop; see kramain(). Runs once.
  int run();

  /// See IRA_Shutdown().
  void shutdown();

  /// See IRA_Subnode_SendRequest().
  void commitSubnodes();

  /// See IRA_Subnode_Deregister(); the raw name.
  int deregisterSubnode(const std::string& name);

  // Agent
  AgentStatus status() const override;
  std::vector<TableStatus> tables() const override;
  std::optional<TableStatus> table(std::string_view name) const override;
  std::vector<SubnodeInfo> subnodes() const override;
  void report(ReportRequest request, std::function<void(ReportResult)> done) override;
  const EventFeed& eventFeed() const override { return eventLogs_; }
  Journal& journal() override { return journal_; }
  Situations& situationDesk() override { return situations_; }
  Actions& actionDesk() override { return *actions_; }

  // TableRegistrar
  int addTable(TableManager& manager) override;
  void removeTable(TableManager& manager) override;

 private:
  struct LoaderResult {
    bool returned = false;
    int code = 0;
  };

  int serve(Service& service);
  int load();
  void awaitFirstSubnode();
  void end(Service& service);
  void deleteObjects(std::chrono::milliseconds bound);
  void setState(AgentStatus::State state);
  CommandCallback commandCallback() const;

  const AgentConfig& config_;
  Clock& clock_;
  HostLink& host_;
  const ServiceFactory services_;
  const Clock::WallTime startedAt_;
  const Clock::MonotonicTime started_;

  Identity identity_;
  Journal journal_;
  SubnodeRegistry subnodes_;
  TimerQueue timers_;
  CallbackGate gate_;

  mutable Mutex mutex_;
  CondVar changed_;
  AgentStatus::State state_ GUARDED_BY(mutex_) = AgentStatus::State::Starting;
  bool running_ GUARDED_BY(mutex_) = false;
  bool stopping_ GUARDED_BY(mutex_) = false;
  Loader loader_ GUARDED_BY(mutex_) = nullptr;
  CommandCallback commandCallback_ GUARDED_BY(mutex_) = nullptr;
  LoaderResult loaded_ GUARDED_BY(mutex_);
  bool hasSubnodes_ GUARDED_BY(mutex_) = false;  // has ever had some

  SituationDesk situations_;  // follows the engine's tables as long as its workers run
  Engine engine_;
  SubscriptionSet subscriptions_;
  EventLogs eventLogs_;
  std::shared_ptr<ActionDesk> actions_;  // ends before the engine
  WorkerLane loaderLane_;
  WorkerLane serviceLane_;  // the callbacks of the agent's services
  TableRegistrar* before_;  // the registrar that this one replaced
  Runtime* beforeRuntime_;  // the runtime that this one replaced
};

}  // namespace fw
