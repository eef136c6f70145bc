#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "agentfw/mutex.h"
#include "config/agent_config.h"
#include "engine/engine.h"
#include "engine/table_observer.h"
#include "events/event_feed.h"
#include "events/event_log.h"
#include "events/subscription_set.h"

namespace fw {

/// The logs of all event tables. It subscribes to every one of them, unless `events.subscribe` says
/// no, and reports what arrives. Any thread may call; nothing blocks.
class EventLogs final : public EventFeed, public TableObserver {
 public:
  /// What the agent hears as the situation's name of the subscriptions made here. Names that people
  /// give can't begin with "*".
  static constexpr const char* kSubscription = "*EVENTS";

  /// Told of events that a log has taken, on a worker of the subscriptions. It must not block.
  using Notice = std::function<void(EventBatch)>;

  /// Everything outlives the logs, and the workers of `subscriptions` use the notice.
  EventLogs(const EventsConfig& config, const Engine& engine, SubscriptionSet& subscriptions,
            Notice notice)
      : config_(config),
        engine_(engine),
        subscriptions_(subscriptions),
        notice_(std::make_shared<const Notice>(std::move(notice))) {}
  EventLogs(const EventLogs&) = delete;
  EventLogs& operator=(const EventLogs&) = delete;

  // EventFeed
  std::variant<EventPage, RequestError> events(const std::string& table, std::uint64_t since,
                                               std::uint32_t limit) const override;

  // TableObserver
  void onTableReady(const TableSet::View& table) override;
  void onTableRemoved(const TableManager& manager) override;

 private:
  struct Kept {
    const TableManager* manager;
    std::shared_ptr<EventLog> log;
  };

  const EventsConfig& config_;
  const Engine& engine_;
  SubscriptionSet& subscriptions_;
  const std::shared_ptr<const Notice> notice_;  // shared with the subscribers

  mutable Mutex mutex_;
  std::map<std::string, Kept> logs_ GUARDED_BY(mutex_);  // by table name
};

}  // namespace fw
