#include "engine/table_set.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "agentfw/ras1.h"
#include "basic/utf8.h"
#include "engine/table_description.h"
#include "engine/worker_lane.h"
#include "tables/status.h"

RAS1_UNIT("TABLESET");

namespace fw {

int TableSet::add(TableManager& manager) {
  RAS1_FUNCTION();
  const std::string name = manager.tableName;
  if (name.empty() || fromModifiedUtf8(name) != name) {
    RAS1_PRINT("ERROR: a table can't be registered: its name is empty or not plain UTF-8");
    return kRcBadArgument;
  }
  const auto entry = std::make_shared<TableEntry>();
  auto info = std::make_shared<TableInfo>();
  info->application = fromModifiedUtf8(manager.applicationId);
  info->name = name;
  entry->info = std::move(info);
  entry->manager = &manager;
  entry->turns = std::make_shared<Turns>("sampling " + name, lane_, clock_);
  {
    const MutexLock lock(mutex_);
    if (closed_) {
      return kRcStopping;
    }
    if (tables_.size() >= config_.tableLimit) {
      RAS1_PRINT("ERROR: table %s can't be registered: engine.table_limit is %u", name.c_str(),
                 config_.tableLimit);
      return kRcLimit;
    }
    if (!tables_.emplace(name, entry).second) {
      RAS1_PRINT("ERROR: table %s is already registered", name.c_str());
      return kRcDuplicate;
    }
  }
  const bool posted =
      entry->turns->postAlways(lane_, "describing " + name, [this, entry] { describe(entry); });
  return posted ? kRcOk : kRcStopping;
}

void TableSet::describe(const std::shared_ptr<TableEntry>& entry) {
  RAS1_FUNCTION();
  auto info = std::make_shared<TableInfo>();
  {
    const MutexLock lock(mutex_);
    info->application = entry->info->application;
    info->name = entry->info->name;
    const auto found = tables_.find(info->name);
    if (found == tables_.end() || found->second != entry) {
      return;
    }
  }
  std::optional<std::string> refusal;
  try {
    const auto call = [&] { refusal = describeTable(*entry->manager, config_.columnLimit, *info); };
    if (!gate_.run(call)) {
      refusal = "the agent is stopping";
    }
  } catch (const std::exception& error) {
    refusal = error.what();
  } catch (...) {
    refusal = "the agent ended the description with an unknown exception";
  }
  if (refusal) {
    RAS1_PRINT("ERROR: table %s is refused: %s", info->name.c_str(), refusal->c_str());
  }
  std::optional<View> ready;
  {
    const MutexLock lock(mutex_);
    entry->state = refusal ? TableStatus::State::Refused : TableStatus::State::Ready;
    if (refusal) {
      entry->refusal = *refusal;
    } else {
      entry->info = std::move(info);
      ready = View{entry, entry->state, {}, entry->info};
    }
    described_.notify_all();
  }
  if (ready && onReady_) {
    onReady_(*ready);
  }
}

std::shared_ptr<TableEntry> TableSet::remove(const TableManager& manager) {
  const MutexLock lock(mutex_);
  const auto found = std::find_if(tables_.begin(), tables_.end(), [&](const auto& each) {
    return each.second->manager == &manager;
  });
  if (found == tables_.end()) {
    return nullptr;
  }
  auto entry = std::move(found->second);
  entry->removed = true;
  tables_.erase(found);
  described_.notify_all();
  return entry;
}

bool TableSet::waitDescribed(std::chrono::milliseconds bound) const {
  MutexLock lock(mutex_);
  return described_.wait_for(lock, bound, [this]() REQUIRES(mutex_) {
    return closed_ || std::none_of(tables_.begin(), tables_.end(), [](const auto& each) {
             return each.second->state == TableStatus::State::Describing;
           });
  });
}

void TableSet::close() {
  const MutexLock lock(mutex_);
  closed_ = true;
  described_.notify_all();
}

std::optional<TableSet::View> TableSet::find(std::string_view name) const {
  const MutexLock lock(mutex_);
  const auto found = tables_.find(name);
  if (found == tables_.end()) {
    return std::nullopt;
  }
  const auto& entry = found->second;
  return View{entry, entry->state, entry->refusal, entry->info};
}

std::vector<TableSet::View> TableSet::all() const {
  const MutexLock lock(mutex_);
  std::vector<View> views;
  for (const auto& [name, entry] : tables_) {
    views.push_back({entry, entry->state, entry->refusal, entry->info});
  }
  return views;
}

TableStatus TableSet::statusOf(const View& view) const {
  TableStatus status;
  status.state = view.state;
  status.refusal = view.refusal;
  status.info = view.info;
  const TableMeters& meters = view.entry->meters;
  status.samples = meters.samples;
  status.rows = meters.rows;
  status.rowsLost = meters.rowsLost;
  status.errors = meters.errors;
  status.timeouts = meters.timeouts;
  status.lastDuration = std::chrono::milliseconds(meters.lastDurationMs.load());
  status.maxDuration = std::chrono::milliseconds(meters.maxDurationMs.load());
  if (const auto newest = meters.newest.load(); newest != 0) {
    const Clock::MonotonicTime taken{Clock::MonotonicTime::duration(newest)};
    status.age = std::chrono::duration_cast<std::chrono::milliseconds>(clock_.monotonic() - taken);
  }
  return status;
}

}  // namespace fw
