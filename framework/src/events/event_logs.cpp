#include "events/event_logs.h"

#include <fmt/format.h>

#include <utility>

namespace fw {

namespace {

/// Writes the events of one table into its log, and reports those that it took.
class LogWriter final : public Subscriber {
 public:
  LogWriter(std::shared_ptr<EventLog> log, std::shared_ptr<const EventLogs::Notice> notice)
      : log_(std::move(log)), notice_(std::move(notice)) {}

  void onOpened(const std::string& problem) override { log_->setSubscribed(problem.empty()); }

  void onRows(const PushedRows& pushed) override {
    for (EventBatch& batch : log_->add(pushed)) {
      (*notice_)(std::move(batch));
    }
  }

  void onClosed() override { log_->setSubscribed(false); }

 private:
  const std::shared_ptr<EventLog> log_;
  const std::shared_ptr<const EventLogs::Notice> notice_;
};

}  // namespace

void EventLogs::onTableReady(const TableSet::View& table) {
  if (!table.info->events) {
    return;
  }
  const auto log =
      std::make_shared<EventLog>(table.info, EventLog::Limits{config_.keep, config_.keepBytes});
  {
    const MutexLock lock(mutex_);
    // A table that goes is marked before its log is forgotten, so no log is overlooked.
    if (table.entry->removed) {
      return;
    }
    logs_[table.info->name] = {table.entry->manager, log};
  }
  if (config_.subscribe) {
    subscriptions_.open(table, kSubscription, {}, std::make_shared<LogWriter>(log, notice_));
  }
}

void EventLogs::onTableRemoved(const TableManager& manager) {
  const MutexLock lock(mutex_);
  std::erase_if(logs_, [&](const auto& each) { return each.second.manager == &manager; });
}

std::variant<EventPage, RequestError> EventLogs::events(const std::string& table,
                                                        std::uint64_t since,
                                                        std::uint32_t limit) const {
  auto found = engine_.findTable(table);
  if (auto* const wrong = std::get_if<RequestError>(&found)) {
    return std::move(*wrong);
  }
  const TableSet::View& view = std::get<TableSet::View>(found);
  if (!view.info->events) {
    return RequestError{
        RequestError::Kind::NoEventTable,
        fmt::format("Table {} is sampled and has no events. Ask for its rows.", table),
        std::nullopt,
        {}};
  }
  std::shared_ptr<EventLog> log;
  {
    const MutexLock lock(mutex_);
    if (const auto kept = logs_.find(table); kept != logs_.end()) {
      log = kept->second.log;
    }
  }
  if (log != nullptr) {
    return log->page(since, limit);
  }
  EventPage nothing;
  nothing.table = view.info;
  return nothing;
}

}  // namespace fw
