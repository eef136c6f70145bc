#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/reports.h"
#include "engine/table_entry.h"

namespace fw {

class WorkerLane;

/// The tables that the agent has registered, and what it says about them. Any thread may call.
class TableSet {
 public:
  /// A table as it was when it was asked for.
  struct View {
    std::shared_ptr<TableEntry> entry;
    TableStatus::State state;
    std::string refusal;
    std::shared_ptr<const TableInfo> info;
  };

  /// Told, on a worker, that a table is ready; must not block.
  using OnReady = std::function<void(const View&)>;

  /// Everything outlives the set; `lane` ends before it.
  TableSet(const EngineConfig& config, Clock& clock, CallbackGate& gate, WorkerLane& lane,
           OnReady onReady)
      : config_(config), clock_(clock), gate_(gate), lane_(lane), onReady_(std::move(onReady)) {}
  TableSet(const TableSet&) = delete;
  TableSet& operator=(const TableSet&) = delete;

  /// Takes over a table and has the agent describe it, on a worker; 0, or an error code.
  int add(TableManager& manager);

  /// Forgets a table and returns its entry; null for an unknown one. Its description may continue.
  std::shared_ptr<TableEntry> remove(const TableManager& manager);

  /// Waits at most `bound` until every table is described or refused, or the set is closed.
  bool waitDescribed(std::chrono::milliseconds bound) const;

  /// Takes no more tables.
  void close();

  std::optional<View> find(std::string_view name) const;
  std::vector<View> all() const;  ///< in name order

  /// The view for people; without what only the engine knows (stuck callbacks).
  TableStatus statusOf(const View& view) const;

 private:
  void describe(const std::shared_ptr<TableEntry>& entry);

  const EngineConfig& config_;
  Clock& clock_;
  CallbackGate& gate_;
  WorkerLane& lane_;
  const OnReady onReady_;

  mutable Mutex mutex_;
  mutable CondVar described_;
  std::map<std::string, std::shared_ptr<TableEntry>, std::less<>> tables_ GUARDED_BY(mutex_);
  bool closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
