#include "runtime/runtime.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include "agentfw/ras1.h"
#include "config/active_config.h"
#include "engine/countdown.h"
#include "engine/timer_thread.h"
#include "runtime/process_memory.h"
#include "tables/status.h"

RAS1_UNIT("RUNTIME");

namespace fw {

namespace {

// What workers still do when all callbacks have ended, or never will, is short.
constexpr std::chrono::milliseconds kWorkersBound{1'000};

constexpr std::chrono::hours kForever{24 * 365};

std::atomic<Runtime*> currentRuntime{nullptr};

/// Nothing is configured in a process that never called configure(): defaults, and no product.
const AgentConfig& processConfig() {
  static const auto& defaults = *new AgentConfig;
  const AgentConfig* const active = activeConfig();
  return active == nullptr ? defaults : *active;
}

}  // namespace

Runtime& Runtime::current() {
  if (Runtime* const runtime = currentRuntime.load(); runtime != nullptr) {
    return *runtime;
  }
  static Runtime& own =
      *new Runtime(processConfig(), Clock::system(), HostLink::instance(), createHttpService);
  return own;
}

Runtime::Runtime(const AgentConfig& config, Clock& clock, HostLink& host, ServiceFactory services)
    : config_(config),
      clock_(clock),
      host_(host),
      services_(std::move(services)),
      startedAt_(clock.wall()),
      started_(clock.monotonic()),
      identity_(config),
      journal_(clock, config.events.journal, config.events.journalBytes),
      subnodes_(clock, config.engine.subnodeLimit,
                [this](const SubnodeInfo& subnode) { journal_.add(subnode); }),
      timers_(clock),
      gate_([this] { return host_.callGuard(); }),
      situations_({config.engine,
                   config.situations,
                   clock,
                   timers_,
                   gate_,
                   engine_,
                   subnodes_,
                   {[this](const TableSet::View& table, std::string name, Predicate thresholds,
                           std::shared_ptr<Subscriber> subscriber) {
                      return subscriptions_.open(table, std::move(name), std::move(thresholds),
                                                 std::move(subscriber));
                    },
                    [this](EventSituation::Id id) { subscriptions_.close(id); }}},
                  [this](SituationStatus status) { journal_.add(std::move(status)); }),
      engine_(config.engine, clock, timers_, gate_, subnodes_),
      subscriptions_(config.engine, config.events, clock, timers_, gate_),
      eventLogs_(config.events, engine_, subscriptions_,
                 [this](EventBatch batch) { journal_.add(std::move(batch)); }),
      actions_(std::make_shared<ActionDesk>(
          config, ActionDesk::Surroundings{clock, timers_, gate_, subnodes_, engine_},
          [this] { return commandCallback(); },
          [this](const ActionStatus& status) { journal_.add(status); })),
      loaderLane_("loader", {1, 0, 0, config.engine.stuckAfter}, clock, timers_),
      // Stand-ins replace stuck callbacks only: `services.workers` is what the agent may be asked
      // to answer at a time.
      serviceLane_("services",
                   {config.services.workers, config.engine.stuckWorkers, config.services.queueLimit,
                    config.engine.stuckAfter, config.engine.stuckAfter},
                   clock, timers_),
      before_(setTableRegistrar(this)),
      beforeRuntime_(currentRuntime.exchange(this)) {
  engine_.addObserver(subscriptions_);
  engine_.addObserver(eventLogs_);
  engine_.addObserver(situations_);
}

Runtime::~Runtime() {
  shutdown();
  situations_.refuse();
  subscriptions_.refuse();
  engine_.refuse();
  actions_->refuse();
  actions_.reset();
  deleteObjects(config_.engine.drainBound);
  // Not left to the destructors: the workers of each use the other.
  subscriptions_.stop(kForever);
  engine_.stop(kForever);
  currentRuntime = beforeRuntime_;
  setTableRegistrar(before_);
}

void Runtime::setLoader(Loader loader) {
  const MutexLock lock(mutex_);
  loader_ = loader;
}

void Runtime::setCommandCallback(CommandCallback callback) {
  const MutexLock lock(mutex_);
  commandCallback_ = callback;
}

CommandCallback Runtime::commandCallback() const {
  const MutexLock lock(mutex_);
  return commandCallback_;
}

void Runtime::setState(AgentStatus::State state) {
  const MutexLock lock(mutex_);
  if (!stopping_) {
    state_ = state;
  }
}

int Runtime::run() {
  RAS1_FLOW();
  {
    const MutexLock lock(mutex_);
    if (stopping_) {
      return ras1Flow.result(kRcOk);
    }
    if (std::exchange(running_, true)) {
      RAS1_PRINT("ERROR: the main loop is already running");
      return ras1Flow.result(kRcBusy);
    }
  }
  const TimerThread timerThread(timers_);
  const std::unique_ptr<Service> service =
      services_({*this, config_, gate_, serviceLane_, timers_});
  const int rc = serve(*service);
  end(*service);
  return ras1Flow.result(rc);
}

int Runtime::serve(Service& service) {
  RAS1_FUNCTION();
  if (std::string why = service.start(); !why.empty()) {
    RAS1_PRINT("ERROR: %s", why.c_str());
    host_.setFailure(why);
    return kRcServiceFailed;
  }
  setState(AgentStatus::State::Loading);
  host_.notifyMainLoopEntered();
  if (const int rc = load(); rc != kRcOk) {
    return rc;
  }
  engine_.setLoaded();
  engine_.waitDescribed(config_.engine.reportDeadline);
  awaitFirstSubnode();
  setState(AgentStatus::State::Ready);
  {
    const MutexLock lock(mutex_);
    if (stopping_) {
      return kRcOk;
    }
  }
  RAS1_PRINT("%s is ready on port %u", identity_.nodeName().c_str(), service.port());
  host_.notifyReady(service.port());
  MutexLock lock(mutex_);
  changed_.wait(lock, [this]() REQUIRES(mutex_) { return stopping_; });
  return kRcOk;
}

// The agent registers its subnodes itself, once it is loaded. Until the first has come, a report on
// it would find nothing, so whoever has waited for "ready" would see an agent without subnodes.
void Runtime::awaitFirstSubnode() {
  RAS1_FUNCTION();
  const std::vector<TableStatus> tables = engine_.tables();
  if (std::none_of(tables.begin(), tables.end(),
                   [](const TableStatus& table) { return table.info->perSubnode; })) {
    return;
  }
  MutexLock lock(mutex_);
  if (!changed_.wait_for(lock, config_.engine.subnodeWait,
                         [this]() REQUIRES(mutex_) { return hasSubnodes_ || stopping_; })) {
    RAS1_PRINT_IF(kRas1State, "no subnode is registered yet; the agent is ready without");
  }
}

int Runtime::load() {
  RAS1_FUNCTION();
  Loader loader = nullptr;
  {
    const MutexLock lock(mutex_);
    loader = loader_;
  }
  if (loader == nullptr) {
    RAS1_PRINT("ERROR: no agent loader is registered");
    host_.setFailure("no agent loader is registered");
    return kRcNoLoader;
  }
  loaderLane_.post("the agent loader", [this, loader] {
    int code = kRcLoaderFailed;
    const auto note = [&] {
      const MutexLock lock(mutex_);
      loaded_ = {true, code};
      changed_.notify_all();
    };
    try {
      if (!gate_.run([&] { code = loader(); })) {
        code = kRcOk;  // stopped before it began
      }
    } catch (...) {
      note();
      throw;
    }
    note();
  });
  MutexLock lock(mutex_);
  changed_.wait(lock, [this]() REQUIRES(mutex_) { return loaded_.returned || stopping_; });
  // A loader that is overtaken by a stop has the bound to say how it ended.
  if (!changed_.wait_for(lock, config_.engine.drainBound,
                         [this]() REQUIRES(mutex_) { return loaded_.returned; })) {
    RAS1_PRINT("ERROR: the agent loader has not returned");
    return kRcOk;
  }
  const int code = loaded_.code;
  if (code == kRcOk) {
    return kRcOk;
  }
  lock.unlock();
  RAS1_PRINT("ERROR: the agent loader failed (rc %i)", code);
  host_.setFailure(fmt::format("the agent could not be loaded (rc {}); its trace says why", code));
  return kRcLoaderFailed;
}

void Runtime::end(Service& service) {
  RAS1_FLOW();
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
    state_ = AgentStatus::State::Stopping;
  }
  const Countdown countdown(config_.engine.drainBound);
  gate_.close();
  service.refuse();
  situations_.refuse();
  subscriptions_.refuse();
  engine_.refuse();
  actions_->refuse();
  service.drain(countdown.left());
  service.stop();
  // The callback in which the stop began has to end too before its request object may go.
  const bool isEmpty = gate_.waitEmpty(countdown.left());
  if (!isEmpty) {
    RAS1_PRINT("ERROR: %u callbacks have not returned; their request objects are left alone",
               gate_.inside());
  }
  actions_->stop(kWorkersBound);
  deleteObjects(isEmpty ? config_.engine.drainBound : kWorkersBound);
  subscriptions_.stop(kWorkersBound);
  engine_.stop(kWorkersBound);
  loaderLane_.stop(kWorkersBound);
  serviceLane_.stop(kWorkersBound);
}

void Runtime::deleteObjects(std::chrono::milliseconds bound) {
  situations_.deleteObjects();
  subscriptions_.closeAll(bound);
  engine_.deleteObjects(bound);
}

void Runtime::shutdown() {
  RAS1_FLOW();
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
    state_ = AgentStatus::State::Stopping;
    gate_.close();
    changed_.notify_all();
  }
  if (!gate_.drain(config_.engine.drainBound)) {
    RAS1_PRINT("ERROR: %u callbacks have not returned %lld ms after the stop began", gate_.inside(),
               static_cast<long long>(config_.engine.drainBound.count()));
  }
}

void Runtime::commitSubnodes() {
  subnodes_.commit();
  if (!subnodes_.askable().empty()) {
    const MutexLock lock(mutex_);
    hasSubnodes_ = true;
    changed_.notify_all();
  }
  situations_.subnodesCame();
}

int Runtime::deregisterSubnode(const std::string& name) {
  RAS1_FLOW();
  if (const int rc = subnodes_.remove(name); rc != kRcOk) {
    return ras1Flow.result(rc);
  }
  situations_.closeSubnode(name);
  if (!engine_.closeSubnode(name, config_.engine.drainBound)) {
    RAS1_PRINT("ERROR: a callback for subnode %s has not returned", name.c_str());
  }
  return ras1Flow.result(kRcOk);
}

AgentStatus Runtime::status() const {
  AgentStatus status;
  {
    const MutexLock lock(mutex_);
    status.state = state_;
  }
  status.nodeName = identity_.nodeName();
  status.instance = config_.instance;
  status.host = identity_.host();
  status.productCode = config_.product.code;
  status.productName = config_.product.name;
  status.productVersion = identity_.productVersion();
  status.frameworkVersion = ras1BuildInfo.version;
  status.affinities = identity_.affinities();
  status.startedAt = startedAt_;
  status.uptime =
      std::chrono::duration_cast<std::chrono::milliseconds>(clock_.monotonic() - started_);
  status.pid = static_cast<std::uint64_t>(getpid());
  status.residentBytes = residentBytes();
  status.reportsWaiting = engine_.reportsWaiting();
  status.reports = engine_.reportsAnswered();
  status.reportsRefused = engine_.reportsRefused();
  status.lanes = engine_.lanes();
  for (LaneStatus& lane : subscriptions_.lanes()) {
    status.lanes.push_back(std::move(lane));
  }
  status.lanes.push_back(actions_->lane());
  status.lanes.push_back(loaderLane_.status());
  status.lanes.push_back(serviceLane_.status());
  return status;
}

std::vector<TableStatus> Runtime::tables() const { return engine_.tables(); }

std::optional<TableStatus> Runtime::table(std::string_view name) const {
  return engine_.table(name);
}

std::vector<SubnodeInfo> Runtime::subnodes() const { return subnodes_.all(); }

void Runtime::report(ReportRequest request, std::function<void(ReportResult)> done) {
  engine_.report(std::move(request), std::move(done));
}

int Runtime::addTable(TableManager& manager) { return engine_.addTable(manager); }

void Runtime::removeTable(TableManager& manager) { engine_.removeTable(manager); }

}  // namespace fw
