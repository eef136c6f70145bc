#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "agentfw/vuira.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/table_set.h"
#include "engine/turns.h"
#include "engine/worker_lane.h"
#include "events/inbox.h"
#include "tables/condition.h"

namespace fw {

/// One request object in the request list of its table, from its creation to its deletion.
///
/// It is made and deleted in the table's turns, through the gate. It enters the list when the
/// factory has returned, leaves it under the list's lock at close(), and is deleted outside of that
/// lock when nobody uses its handle any longer. When the gate is closed, it is abandoned instead.
class Subscription final : public std::enable_shared_from_this<Subscription> {
 public:
  /// What all subscriptions share. Everything outlives them.
  struct Shared {
    const EngineConfig& config;
    CallbackGate& gate;
    WorkerLane& lane;
  };

  /// `gone` is called, on a worker or the agent's thread, when the object is deleted or abandoned.
  Subscription(Shared shared, TableSet::View table, std::string name, Predicate thresholds,
               std::shared_ptr<Inbox> inbox, std::function<void()> gone);
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  /// Leaves the object alone if it still exists: a callback on it may never have returned.
  ~Subscription();

  /// Has the object made in its turn.
  void open();

  /// Takes the object off the list, and has it deleted in its turn. May be called again.
  void close();

  /// Drops what is pushed from now on.
  void refuse() { inbox_->refuse(); }

  bool isOn(const TableManager& manager) const { return table_.entry->manager == &manager; }

 private:
  std::unique_ptr<vuira> makeObject();
  void openInTurn();
  void postDelete();
  void deleteInTurn();
  void link();
  void unlink();

  const Shared shared_;
  const TableSet::View table_;
  const std::string name_;
  const Predicate thresholds_;
  const std::shared_ptr<Inbox> inbox_;
  const std::function<void()> gone_;
  std::atomic<bool> closed_{false};
  /// The object is on no list and will not be put on one: from now on it may be deleted.
  std::atomic<bool> offList_{false};

  std::unique_ptr<vuira> object_;  // touched by the job that has its turn only
  vuira* linked_ = nullptr;        // guarded by the manager's listLock
};

}  // namespace fw
