#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>

#include "config/agent_config.h"
#include "engine/engine.h"
#include "engine/table_observer.h"
#include "events/event_feed.h"
#include "events/event_log.h"
#include "events/journal.h"
#include "events/subscription_set.h"

namespace fw {

/// The logs of all event tables. It subscribes to every one of them, unless `events.subscribe` says
/// no, and tells the journal of what comes in. Any thread may call; nothing blocks.
class EventLogs final : public EventFeed, public TableObserver {
 public:
  /// What the agent hears as the situation's name of the subscriptions made here. Names that people
  /// give can't begin with "*".
  static constexpr const char* kSubscription = "*EVENTS";

  /// Everything outlives the logs; the workers of `subscriptions` use the journal.
  EventLogs(const EventsConfig& config, const Engine& engine, SubscriptionSet& subscriptions,
            Journal& journal)
      : config_(config), engine_(engine), subscriptions_(subscriptions), journal_(journal) {}
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
  Journal& journal_;

  mutable std::mutex mutex_;
  std::map<std::string, Kept> logs_;  // guarded by mutex_; by table name
};

}  // namespace fw
