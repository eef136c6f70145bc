#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/report.h"
#include "engine/reports.h"
#include "engine/sample_channel.h"
#include "engine/subnode_directory.h"
#include "engine/table_observer.h"
#include "engine/table_set.h"
#include "engine/timer_queue.h"
#include "engine/worker_lane.h"

namespace fw {

/// Samples the agent's tables: decides when request objects open, are asked and close, and answers
/// reports. Any thread may call; nothing blocks on a collector except where a bound is given.
class Engine {
 public:
  using Done = std::function<void(ReportResult)>;

  /// Everything outlives the engine. `timers` is fired by somebody else.
  Engine(const EngineConfig& config, Clock& clock, TimerQueue& timers, CallbackGate& gate,
         const SubnodeDirectory& subnodes);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  /// Waits for every callback, however long it takes: a process that must end does not destroy it.
  ~Engine();

  /// Adds an observer of the tables, which outlives the engine's workers; before the first
  /// addTable().
  void addObserver(TableObserver& observer) { observers_.push_back(&observer); }

  /// Takes over a table and has the agent describe it, on a worker; 0, or an error code.
  int addTable(TableManager& manager) { return tables_.add(manager); }

  /// Forgets a table; waits at most engine.drain_bound for callbacks on it.
  void removeTable(TableManager& manager);

  /// Waits at most `bound` until every table is described or refused, or the engine stops.
  bool waitDescribed(std::chrono::milliseconds bound) const { return tables_.waitDescribed(bound); }

  /// The agent has registered its tables: from now on others are unknown, not late.
  void setLoaded() { loaded_ = true; }

  std::vector<TableStatus> tables() const;
  std::optional<TableStatus> table(std::string_view name) const;
  std::vector<LaneStatus> lanes() const;

  /// A table that is ready, or why it can't be used.
  std::variant<TableSet::View, RequestError> findTable(const std::string& name) const;

  /// Where all callbacks of a pair take turns; an empty name stands for no subnode. They are its
  /// turns until the subnode is closed or the table removed: post nothing after that.
  std::shared_ptr<Turns> turnsOf(const TableSet::View& table, const SubnodeName& subnode);

  /// See Agent::report().
  void report(ReportRequest request, Done done);

  /// Opens a request object that holds a copy of `row`, a row that a report returned for this table
  /// and subnode (the shown name, empty for none); see SampleChannel::openRow(). When this returns
  /// an error, `opened` is not called.
  std::optional<RequestError> openRow(const std::string& table, const std::string& subnode,
                                      std::string row, SampleChannel::RowOpened opened);

  /// Runs a task that answers a caller, on a thread that never calls the agent. It must not block.
  void answer(const std::function<void()>& answer);

  std::uint32_t reportsWaiting() const;
  std::uint64_t reportsAnswered() const;
  std::uint64_t reportsRefused() const;

  /// Closes a subnode's requests and waits at most `bound` for their callbacks, not for the
  /// caller's own. False when one did not end; it continues, and its object is deleted when it does
  /// end.
  bool closeSubnode(const std::string& raw, std::chrono::milliseconds bound);

  /// Answers every report with "stopping", those in progress and those to come.
  void refuse();

  /// Deletes the request objects whose callbacks end within the bound, and abandons the others. The
  /// gate is closed before, and sealed after.
  void deleteObjects(std::chrono::milliseconds bound);

  /// Ends the workers, waiting at most `bound` for each kind.
  void stop(std::chrono::milliseconds bound);

 private:
  using ChannelKey = std::pair<std::string, std::string>;  // table, subnode

  TableStatus statusOf(const TableSet::View& view) const;
  std::optional<RequestError> targetsOf(const std::optional<std::string>& subnode,
                                        const TableInfo& table,
                                        std::vector<SubnodeName>& targets) const;
  std::shared_ptr<SampleChannel> channelOf(const TableSet::View& table, const SubnodeName& subnode)
      REQUIRES(mutex_);
  std::optional<RequestError> tryBegin(const ReportRequest& request, const Done& done);
  void finish(const std::shared_ptr<Report>& report);

  const EngineConfig& config_;
  Clock& clock_;
  TimerQueue& timers_;
  CallbackGate& gate_;
  const SubnodeDirectory& subnodes_;
  std::vector<TableObserver*> observers_;

  struct Running {
    Done done;
    TimerQueue::Id timer = 0;
  };

  mutable Mutex mutex_;
  std::map<ChannelKey, std::shared_ptr<SampleChannel>> channels_ GUARDED_BY(mutex_);
  std::map<std::shared_ptr<Report>, Running> running_ GUARDED_BY(mutex_);
  std::uint64_t answered_ GUARDED_BY(mutex_) = 0;
  std::uint64_t refused_ GUARDED_BY(mutex_) = 0;
  bool stopping_ GUARDED_BY(mutex_) = false;

  std::atomic<bool> loaded_{false};
  TableSet tables_;

  // The workers of samples_ post to reports_, so they end first.
  WorkerLane reports_;  // assembles results; never calls the agent
  WorkerLane samples_;  // makes callbacks into the agent
};

}  // namespace fw
