#include "situations/situation_desk.h"

#include <fmt/format.h>

#include <utility>
#include <variant>

#include "basic/nearest.h"
#include "situations/sampled_situation.h"

namespace fw {

namespace {

using Kind = RequestError::Kind;

RequestError error(Kind kind, std::string message, std::string nearest = {}) {
  return {kind, std::move(message), std::nullopt, std::move(nearest)};
}

}  // namespace

SituationDesk::SituationDesk(const Surroundings& surroundings, SituationNotices::Notice notice)
    : around_(surroundings), notices_(std::make_shared<SituationNotices>(std::move(notice))) {}

std::optional<RequestError> SituationDesk::watch(SituationRequest request) {
  if (auto wrong = checkSituationName(request)) {
    return wrong;
  }
  {
    const MutexLock lock(mutex_);
    if (refusing_) {
      return stoppingError();
    }
    // Under the lock, so that onTableRemoved() finds what is watched here.
    const auto found = around_.engine.findTable(request.table);
    if (const auto* wrong = std::get_if<RequestError>(&found)) {
      return *wrong;
    }
    const auto& table = std::get<TableSet::View>(found);
    auto checked =
        checkSituation(std::move(request), *table.info, around_.engineConfig.subnodeLimit);
    if (auto* wrong = std::get_if<RequestError>(&checked)) {
      return std::move(*wrong);
    }
    auto& situation = std::get<CheckedSituation>(checked);
    const std::string name = situation.request.name;
    if (watched_.contains(name)) {
      return error(Kind::Duplicate,
                   fmt::format("A situation '{}' is already being watched. End it first "
                               "to change it.",
                               name));
    }
    sweep();
    if (watched_.size() + leaving_.size() >= around_.config.limit) {
      return error(Kind::Busy,
                   fmt::format("{} situations are watched, the most that situations.limit "
                               "allows; {} more are being ended.",
                               watched_.size(), leaving_.size()));
    }
    const Watched next = make(table, std::move(situation));
    watched_.emplace(name, next);
    next->begin();
  }
  notices_->deliver();
  return std::nullopt;
}

SituationDesk::Watched SituationDesk::make(const TableSet::View& table, CheckedSituation checked) {
  if (table.info->events) {
    return std::make_shared<EventSituation>(around_.subscriptions, around_.clock, table,
                                            std::move(checked.request),
                                            std::move(checked.predicate), notices_);
  }
  Engine& engine = around_.engine;
  return std::make_shared<SampledSituation>(
      SampledSituation::Shared{
          {around_.clock, around_.timers, around_.gate, around_.engineConfig.stuckAfter},
          around_.engineConfig.rowLimit,
          around_.subnodes,
          [&engine](const TableSet::View& view, const SubnodeName& subnode) {
            return engine.turnsOf(view, subnode);
          }},
      table, std::move(checked.request), std::move(checked.predicate), notices_);
}

std::optional<RequestError> SituationDesk::unwatch(std::string_view name) {
  {
    const MutexLock lock(mutex_);
    if (refusing_) {
      return stoppingError();
    }
    const auto found = watched_.find(name);
    if (found == watched_.end()) {
      std::vector<std::string> names;
      for (const auto& [known, each] : watched_) {
        names.push_back(known);
      }
      const std::string nearest = nearestOf(std::string(name), names);
      return error(Kind::UnknownSituation,
                   fmt::format("There is no situation '{}'.{}", name,
                               nearest.empty() ? "" : " Did you mean " + nearest + "?"),
                   nearest);
    }
    // Under the lock, so that a new situation of that name is reported after the end of this one.
    found->second->disarm();
    sweep();
    leaving_.push_back(found->second);
    watched_.erase(found);
  }
  notices_->deliver();
  return std::nullopt;
}

void SituationDesk::sweep() {
  std::erase_if(leaving_, [](const Watched& each) { return each->isGone(); });
}

std::vector<SituationStatus> SituationDesk::situations() const {
  std::vector<SituationStatus> all;
  for (const Watched& each : watched()) {
    all.push_back(each->status());
  }
  return all;
}

std::optional<SituationStatus> SituationDesk::situation(std::string_view name) const {
  Watched found;
  {
    const MutexLock lock(mutex_);
    const auto each = watched_.find(name);
    if (each == watched_.end()) {
      return std::nullopt;
    }
    found = each->second;
  }
  return found->status();
}

std::vector<SituationDesk::Watched> SituationDesk::watched() const {
  const MutexLock lock(mutex_);
  std::vector<Watched> all;
  for (const auto& [name, each] : watched_) {
    all.push_back(each);
  }
  return all;
}

void SituationDesk::subnodesCame() {
  for (const Watched& each : watched()) {
    each->refresh();
  }
}

void SituationDesk::closeSubnode(const std::string& raw) {
  for (const Watched& each : watched()) {
    each->closeSubnode(raw);
  }
  notices_->deliver();
}

void SituationDesk::onTableRemoved(const TableManager& manager) {
  {
    const MutexLock lock(mutex_);
    for (auto each = watched_.begin(); each != watched_.end();) {
      if (each->second->table().manager != &manager) {
        ++each;
        continue;
      }
      each->second->disarm();
      leaving_.push_back(each->second);
      each = watched_.erase(each);
    }
  }
  notices_->deliver();
}

void SituationDesk::refuse() {
  const MutexLock lock(mutex_);
  refusing_ = true;
}

void SituationDesk::deleteObjects() {
  for (const Watched& each : watched()) {
    each->abandon();
  }
}

}  // namespace fw
