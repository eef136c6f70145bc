#include "events/subscription_set.h"

#include <fmt/format.h>

#include <utility>

#include "events/inbox.h"
#include "events/subscription.h"

namespace fw {

SubscriptionSet::SubscriptionSet(const EngineConfig& engine, const EventsConfig& events,
                                 Clock& clock, TimerQueue& timers, CallbackGate& gate)
    : engine_(engine),
      events_(events),
      clock_(clock),
      gate_(gate),
      deliveries_("events", {2, 2, 0, engine.stuckAfter}, clock, timers),
      callbacks_("subscriptions", {2, engine.stuckWorkers, 0, engine.stuckAfter}, clock, timers) {}

SubscriptionSet::~SubscriptionSet() {
  refuse();
  stop(std::chrono::milliseconds(0));
}

std::optional<SubscriptionSet::Id> SubscriptionSet::open(const TableSet::View& table,
                                                         std::string name, Predicate thresholds,
                                                         std::shared_ptr<Subscriber> subscriber) {
  const auto inbox = std::make_shared<Inbox>(
      fmt::format("events of {} for {}", table.info->name, name), table.info, events_.queueBytes,
      clock_, deliveries_, std::move(subscriber));
  std::shared_ptr<Subscription> subscription;
  Id id = 0;
  {
    const MutexLock lock(mutex_);
    // A table that goes is marked before those on it are closed, so none is overlooked.
    if (refusing_ || table.entry->removed) {
      return std::nullopt;
    }
    id = ++lastId_;
    subscription = std::make_shared<Subscription>(Subscription::Shared{engine_, gate_, callbacks_},
                                                  table, std::move(name), std::move(thresholds),
                                                  inbox, [this, id] { forget(id); });
    subscriptions_.emplace(id, subscription);
  }
  subscription->open();
  return id;
}

void SubscriptionSet::close(Id id) {
  std::shared_ptr<Subscription> subscription;
  {
    const MutexLock lock(mutex_);
    const auto found = subscriptions_.find(id);
    if (found == subscriptions_.end()) {
      return;
    }
    subscription = found->second;
  }
  subscription->close();
}

void SubscriptionSet::onTableRemoved(const TableManager& manager) {
  for (const auto& subscription : all()) {
    if (subscription->isOn(manager)) {
      subscription->close();
    }
  }
}

std::vector<std::shared_ptr<Subscription>> SubscriptionSet::all() const {
  const MutexLock lock(mutex_);
  std::vector<std::shared_ptr<Subscription>> all;
  for (const auto& [id, subscription] : subscriptions_) {
    all.push_back(subscription);
  }
  return all;
}

void SubscriptionSet::forget(Id id) {
  const MutexLock lock(mutex_);
  subscriptions_.erase(id);
  gone_.notify_all();
}

std::size_t SubscriptionSet::size() const {
  const MutexLock lock(mutex_);
  return subscriptions_.size();
}

std::vector<LaneStatus> SubscriptionSet::lanes() const {
  return {callbacks_.status(), deliveries_.status()};
}

void SubscriptionSet::refuse() {
  {
    const MutexLock lock(mutex_);
    refusing_ = true;
  }
  for (const auto& subscription : all()) {
    subscription->refuse();
  }
}

void SubscriptionSet::closeAll(std::chrono::milliseconds bound) {
  for (const auto& subscription : all()) {
    subscription->close();
  }
  MutexLock lock(mutex_);
  gone_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return subscriptions_.empty(); });
}

void SubscriptionSet::stop(std::chrono::milliseconds bound) {
  callbacks_.stop(bound);
  deliveries_.stop(bound);
}

}  // namespace fw
