#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/reports.h"
#include "engine/table_observer.h"
#include "engine/table_set.h"
#include "engine/worker_lane.h"
#include "events/subscriber.h"
#include "tables/condition.h"

namespace fw {

class Subscription;

/// The event subscriptions: request objects that stay open, are never sampled, and receive the rows
/// that the agent pushes into their table.
///
/// Objects are made and deleted on workers of their own lane, through the gate, in the turns
/// of callbacks on the table that concern no subnode. Pushed rows are queued, bounded, on the
/// agent's thread, and handed to the subscriber on a worker that never calls the agent. Any thread
/// may call; nothing blocks except where a bound is given.
class SubscriptionSet final : public TableObserver {
 public:
  using Id = std::uint64_t;

  /// Everything outlives the set.
  SubscriptionSet(const EngineConfig& engine, const EventsConfig& events, Clock& clock,
                  TimerQueue& timers, CallbackGate& gate);
  SubscriptionSet(const SubscriptionSet&) = delete;
  SubscriptionSet& operator=(const SubscriptionSet&) = delete;
  /// Waits for every callback, however long it takes. The engine has been stopped before: its
  /// workers and those of the set hand the turns of tables to each other.
  ~SubscriptionSet() override;

  /// Begins to open a subscription on a table that is ready; `table` is what Engine::findTable()
  /// gave. The agent hears `name` as that of a situation which has started; the equality conditions
  /// of `thresholds` are passed down as hints, and only rows that pass all of them are taken.
  /// Nothing when the agent stops or the table has been removed; the subscriber is not called then.
  std::optional<Id> open(const TableSet::View& table, std::string name, Predicate thresholds,
                         std::shared_ptr<Subscriber> subscriber);

  /// Begins to close a subscription. Rows that are not handled yet are dropped; one call of
  /// Subscriber::onRows may still be under way when this returns. Subscriber::onClosed follows when
  /// the agent has been told. An unknown id changes nothing.
  void close(Id id);

  /// Subscriptions that are open, opening or closing.
  std::size_t size() const;

  std::vector<LaneStatus> lanes() const;

  /// Opens no more, and drops what is pushed from now on.
  void refuse();

  /// Closes everything and waits at most `bound` for the turns in which that happens. The gate is
  /// closed before, so the objects are abandoned.
  void closeAll(std::chrono::milliseconds bound);

  /// Ends the workers, waiting at most `bound` for each kind.
  void stop(std::chrono::milliseconds bound);

  // TableObserver
  void onTableRemoved(const TableManager& manager) override;

 private:
  std::vector<std::shared_ptr<Subscription>> all() const;
  void forget(Id id);

  const EngineConfig& engine_;
  const EventsConfig& events_;
  Clock& clock_;
  CallbackGate& gate_;

  mutable Mutex mutex_;
  CondVar gone_;
  std::map<Id, std::shared_ptr<Subscription>> subscriptions_ GUARDED_BY(mutex_);
  Id lastId_ GUARDED_BY(mutex_) = 0;
  bool refusing_ GUARDED_BY(mutex_) = false;

  // Callbacks hand their results to the other lane, so they end first.
  WorkerLane deliveries_;  // hands rows to subscribers; never calls the agent
  WorkerLane callbacks_;   // makes and deletes request objects
};

}  // namespace fw
