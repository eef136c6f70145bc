#include "engine/engine.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "basic/nearest.h"
#include "engine/countdown.h"
#include "engine/subnode_lookup.h"
#include "tables/where_parser.h"

namespace fw {

namespace {

using Kind = RequestError::Kind;

constexpr std::chrono::milliseconds kNoTime{0};

RequestError error(Kind kind, std::string message, std::string nearest = {}) {
  return {kind, std::move(message), std::nullopt, std::move(nearest)};
}

}  // namespace

Engine::Engine(const EngineConfig& config, Clock& clock, TimerQueue& timers, CallbackGate& gate,
               const SubnodeDirectory& subnodes)
    : config_(config),
      clock_(clock),
      timers_(timers),
      gate_(gate),
      subnodes_(subnodes),
      tables_(config, clock, gate, samples_,
              [this](const TableSet::View& table) {
                for (TableObserver* const observer : observers_) {
                  observer->onTableReady(table);
                }
              }),
      reports_("reports", {2, 2, 0, config.stuckAfter}, clock, timers),
      samples_("samples",
               {config.sampleWorkers, config.stuckWorkers, config.queueLimit, config.stuckAfter},
               clock, timers) {}

Engine::~Engine() { stop(kNoTime); }

void Engine::removeTable(TableManager& manager) {
  const auto entry = tables_.remove(manager);
  if (entry == nullptr) {
    return;
  }
  for (TableObserver* const observer : observers_) {
    observer->onTableRemoved(manager);
  }
  std::vector<std::shared_ptr<SampleChannel>> channels;
  {
    const MutexLock lock(mutex_);
    for (auto each = channels_.begin(); each != channels_.end();) {
      if (each->first.first == manager.tableName) {
        channels.push_back(each->second);
        each = channels_.erase(each);
      } else {
        ++each;
      }
    }
  }
  for (const auto& channel : channels) {
    channel->close("The table has been removed.");
  }
  const Countdown countdown(config_.drainBound);
  entry->turns->waitIdle(countdown.left());
  for (const auto& channel : channels) {
    channel->waitReturned(countdown.left());
    channel->waitIdle(countdown.left());
  }
}

TableStatus Engine::statusOf(const TableSet::View& view) const {
  TableStatus status = tables_.statusOf(view);
  const MutexLock lock(mutex_);
  for (const auto& [key, channel] : channels_) {
    if (key.first == view.info->name && channel->isStuck()) {
      ++status.stuck;
    }
  }
  return status;
}

std::vector<TableStatus> Engine::tables() const {
  std::vector<TableStatus> tables;
  for (const TableSet::View& view : tables_.all()) {
    tables.push_back(statusOf(view));
  }
  return tables;
}

std::optional<TableStatus> Engine::table(std::string_view name) const {
  const auto view = tables_.find(name);
  if (!view) {
    return std::nullopt;
  }
  return statusOf(*view);
}

std::vector<LaneStatus> Engine::lanes() const { return {samples_.status(), reports_.status()}; }

void Engine::report(ReportRequest request, Done done) {
  if (const auto wrong = tryBegin(request, done)) {
    answer([done = std::move(done), wrong] {
      ReportResult result;
      result.error = wrong;
      done(std::move(result));
    });
  }
}

std::variant<TableSet::View, RequestError> Engine::findTable(const std::string& name) const {
  auto table = tables_.find(name);
  if (!table && !loaded_) {
    return error(Kind::NotReady, "The agent is still loading.");
  }
  if (!table) {
    std::vector<std::string> names;
    for (const TableSet::View& each : tables_.all()) {
      names.push_back(each.info->name);
    }
    const std::string nearest = nearestOf(name, names);
    return error(Kind::UnknownTable,
                 fmt::format("There is no table '{}'.{}", name, didYouMean(nearest)), nearest);
  }
  switch (table->state) {
    case TableStatus::State::Describing:
      return error(Kind::NotReady, fmt::format("Table {} is not described yet.", name));
    case TableStatus::State::Refused:
      return error(Kind::TableRefused,
                   fmt::format("Table {} can't be used: {}.", name, table->refusal));
    case TableStatus::State::Ready:
      break;
  }
  return *std::move(table);
}

std::optional<RequestError> Engine::tryBegin(const ReportRequest& request, const Done& done) {
  auto found = findTable(request.table);
  if (auto* const wrong = std::get_if<RequestError>(&found)) {
    return std::move(*wrong);
  }
  const auto* const table = std::get_if<TableSet::View>(&found);
  auto where = parseWhere(request.where, *table->info);
  if (const auto* wrong = std::get_if<WhereError>(&where)) {
    return RequestError{Kind::BadWhere, wrong->message, wrong->position, wrong->nearest};
  }
  std::shared_ptr<Report> report;
  {
    const MutexLock lock(mutex_);
    if (stopping_) {
      return stoppingError();
    }
    if (running_.size() >= config_.reportLimit) {
      ++refused_;
      return error(Kind::Busy, fmt::format("{} reports are in progress, the most that "
                                           "engine.report_limit allows. Try again later.",
                                           running_.size()));
    }
    // Under the lock, so that a subnode that closes meanwhile finds the channels made here.
    std::vector<SubnodeName> subnodes;
    if (auto wrong = targetsOf(request.subnode, *table->info, subnodes)) {
      return wrong;
    }
    std::vector<Report::Target> targets;
    targets.reserve(subnodes.size());
    for (const SubnodeName& subnode : subnodes) {
      targets.push_back({subnode.shown, channelOf(*table, subnode)});
    }
    report = std::make_shared<Report>(
        table->entry, table->info, std::get<Predicate>(std::move(where)), request.limit,
        std::move(targets), clock_,
        [this](const std::shared_ptr<Report>& completed) { finish(completed); });
    const auto deadline = request.deadline.value_or(config_.reportDeadline);
    const auto timer = timers_.after(deadline, [weak = std::weak_ptr<Report>(report), deadline] {
      if (const auto late = weak.lock()) {
        late->expire(deadline);
      }
    });
    running_.emplace(report, Running{done, timer});
  }
  report->begin();
  return std::nullopt;
}

std::optional<RequestError> Engine::targetsOf(const std::optional<std::string>& subnode,
                                              const TableInfo& table,
                                              std::vector<SubnodeName>& targets) const {
  if (!table.perSubnode) {
    if (subnode) {
      return error(Kind::UnknownSubnode,
                   fmt::format("Table {} belongs to the agent itself: read it without a subnode.",
                               table.name));
    }
    targets.push_back({});
    return std::nullopt;
  }
  if (!subnode) {
    targets = subnodes_.askable();
    return std::nullopt;
  }
  auto found = findSubnode(subnodes_, *subnode);
  if (auto* const wrong = std::get_if<RequestError>(&found)) {
    return std::move(*wrong);
  }
  targets.push_back(std::get<SubnodeName>(std::move(found)));
  return std::nullopt;
}

std::shared_ptr<SampleChannel> Engine::channelOf(const TableSet::View& table,
                                                 const SubnodeName& subnode) {
  const std::string& name = table.info->name;
  auto& channel = channels_[{name, subnode.raw}];
  if (channel == nullptr) {
    channel = std::make_shared<SampleChannel>(
        SampleChannel::Shared{clock_, gate_, samples_, config_}, table.entry, table.info,
        subnode.raw, subnode.shown.empty() ? name : fmt::format("{} of {}", name, subnode.shown));
  } else {
    channel->reopen();
  }
  return channel;
}

std::optional<RequestError> Engine::openRow(const std::string& table, const std::string& subnode,
                                            std::string row, SampleChannel::RowOpened opened) {
  const auto found = findTable(table);
  if (const auto* wrong = std::get_if<RequestError>(&found)) {
    return *wrong;
  }
  const auto& view = std::get<TableSet::View>(found);
  std::shared_ptr<SampleChannel> channel;
  {
    const MutexLock lock(mutex_);
    if (stopping_) {
      return stoppingError();
    }
    std::vector<SubnodeName> targets;
    const auto asked = subnode.empty() ? std::nullopt : std::optional(subnode);
    if (auto wrong = targetsOf(asked, *view.info, targets)) {
      return wrong;
    }
    channel = channelOf(view, targets.at(0));
  }
  channel->openRow(std::move(row), std::move(opened));
  return std::nullopt;
}

std::shared_ptr<Turns> Engine::turnsOf(const TableSet::View& table, const SubnodeName& subnode) {
  const MutexLock lock(mutex_);
  return channelOf(table, subnode)->turns();
}

void Engine::finish(const std::shared_ptr<Report>& report) {
  Running running;
  {
    const MutexLock lock(mutex_);
    auto node = running_.extract(report);
    if (node.empty()) {
      return;
    }
    running = std::move(node.mapped());
    ++answered_;
  }
  timers_.cancel(running.timer);
  // The report is released first: whoever has its answer no longer waits for a sample.
  answer([held = report, done = std::move(running.done)]() mutable {
    ReportResult result = held->assemble();
    held.reset();
    done(std::move(result));
  });
}

void Engine::answer(const std::function<void()>& answer) {
  if (!reports_.postNext("a report's answer", answer)) {
    // Only after stop(), when nobody is left who would mind the thread.
    answer();
  }
}

std::uint32_t Engine::reportsWaiting() const {
  const MutexLock lock(mutex_);
  return static_cast<std::uint32_t>(running_.size());
}

std::uint64_t Engine::reportsAnswered() const {
  const MutexLock lock(mutex_);
  return answered_;
}

std::uint64_t Engine::reportsRefused() const {
  const MutexLock lock(mutex_);
  return refused_;
}

bool Engine::closeSubnode(const std::string& raw, std::chrono::milliseconds bound) {
  std::vector<std::shared_ptr<SampleChannel>> channels;
  {
    const MutexLock lock(mutex_);
    for (const auto& [key, channel] : channels_) {
      if (key.second == raw) {
        channels.push_back(channel);
      }
    }
  }
  for (const auto& channel : channels) {
    channel->close("The subnode has been deregistered.");
  }
  const Countdown countdown(bound);
  bool all = true;
  for (const auto& channel : channels) {
    all = channel->waitIdle(countdown.left()) && all;
  }
  const MutexLock lock(mutex_);
  // Including those that could not go with their own subnode: it may never come back.
  std::erase_if(channels_, [](const auto& each) {
    return each.second->isClosed() && each.second->waitReturned(kNoTime) &&
           each.second->waitIdle(kNoTime);
  });
  return all;
}

void Engine::refuse() {
  tables_.close();
  std::vector<std::shared_ptr<Report>> reports;
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
    for (const auto& [report, running] : running_) {
      reports.push_back(report);
    }
  }
  for (const auto& report : reports) {
    report->abort(stoppingError());
  }
}

void Engine::deleteObjects(std::chrono::milliseconds bound) {
  std::vector<std::shared_ptr<SampleChannel>> channels;
  {
    const MutexLock lock(mutex_);
    for (const auto& [key, channel] : channels_) {
      channels.push_back(channel);
    }
  }
  // First those that are idle: a callback that does not return would use up the bound.
  std::stable_partition(channels.begin(), channels.end(),
                        [](const auto& channel) { return !channel->isBusy(); });
  for (const auto& channel : channels) {
    channel->close(kStoppingText);
  }
  const Countdown countdown(bound);
  for (const auto& channel : channels) {
    channel->waitIdle(countdown.left());
  }
  gate_.seal();
}

void Engine::stop(std::chrono::milliseconds bound) {
  samples_.stop(bound);
  reports_.stop(bound);
  const MutexLock lock(mutex_);
  for (const auto& [key, channel] : channels_) {
    channel->abandon();
  }
  for (const TableSet::View& table : tables_.all()) {
    table.entry->turns->abandon();
  }
}

}  // namespace fw
