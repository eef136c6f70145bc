#include "runtime/subnode_registry.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "agentfw/ras1.h"
#include "basic/utf8.h"
#include "runtime/identity.h"
#include "tables/status.h"

RAS1_UNIT("SUBNODEREGISTRY");

namespace fw {

namespace {

bool isSame(const SubnodeInfo& a, const SubnodeInfo& b) {
  return a.name == b.name && a.product == b.product && a.version == b.version &&
         a.affinities == b.affinities && a.info == b.info && a.state == b.state;
}

}  // namespace

int SubnodeRegistry::add(SubnodeRegistration registration) {
  RAS1_FUNCTION();
  if (registration.name.empty() || registration.name.size() > kMaxNodeName) {
    RAS1_PRINT("ERROR: subnode name <%s> has %zu bytes; 1 to %zu are allowed",
               registration.name.c_str(), registration.name.size(), kMaxNodeName);
    return kRcBadArgument;
  }
  const MutexLock lock(mutex_);
  if (!subnodes_.contains(registration.name) && !makeRoom()) {
    RAS1_PRINT("ERROR: subnode %s can't be registered: engine.subnode_limit is %u",
               registration.name.c_str(), limit_);
    return kRcLimit;
  }
  Subnode& subnode = subnodes_[registration.name];
  subnode.staged = Staged{false, std::move(registration), std::nullopt};
  return kRcOk;
}

bool SubnodeRegistry::makeRoom() {
  if (subnodes_.size() < limit_) {
    return true;
  }
  auto oldest = subnodes_.end();
  for (auto each = subnodes_.begin(); each != subnodes_.end(); ++each) {
    const Subnode& subnode = each->second;
    if (subnode.current && !subnode.staged && subnode.current->state == SubnodeState::Offline &&
        (oldest == subnodes_.end() || subnode.current->since < oldest->second.current->since)) {
      oldest = each;
    }
  }
  if (oldest == subnodes_.end()) {
    return false;
  }
  subnodes_.erase(oldest);
  return true;
}

int SubnodeRegistry::setInfo(std::string_view name, std::string_view info) {
  if (info.size() > kMaxInfo) {
    return kRcBadArgument;
  }
  const MutexLock lock(mutex_);
  const auto found = subnodes_.find(name);
  if (found == subnodes_.end()) {
    return kRcUnknownNode;
  }
  Subnode& subnode = found->second;
  if (subnode.staged && !subnode.staged->gone) {
    subnode.staged->info = fromModifiedUtf8(info);
  } else if (!subnode.staged && subnode.current->state == SubnodeState::Online) {
    std::string next = fromModifiedUtf8(info);
    subnode.changed = subnode.changed || subnode.current->info != next;
    subnode.current->info = std::move(next);
  } else {
    return kRcUnknownNode;
  }
  return kRcOk;
}

int SubnodeRegistry::remove(std::string_view name) {
  const MutexLock lock(mutex_);
  const auto found = subnodes_.find(name);
  if (found == subnodes_.end()) {
    return kRcUnknownNode;
  }
  Subnode& subnode = found->second;
  if (!subnode.current) {
    subnodes_.erase(found);  // it was staged only
    return kRcOk;
  }
  const bool isKnown =
      subnode.staged ? !subnode.staged->gone : subnode.current->state == SubnodeState::Online;
  if (!isKnown) {
    return kRcUnknownNode;
  }
  subnode.staged = Staged{true, {}, std::nullopt};
  return kRcOk;
}

void SubnodeRegistry::commit() {
  RAS1_FUNCTION();
  const MutexLock commit(commitMutex_);
  std::vector<SubnodeInfo> changes;
  {
    const MutexLock lock(mutex_);
    const auto now = clock_.wall();
    for (auto& [raw, subnode] : subnodes_) {
      if (const auto staged = std::exchange(subnode.staged, std::nullopt)) {
        apply(raw, subnode, *staged, now);
      }
      if (std::exchange(subnode.changed, false)) {
        changes.push_back(*subnode.current);
      }
    }
  }
  if (onChange_) {
    std::for_each(changes.begin(), changes.end(), onChange_);
  }
}

void SubnodeRegistry::apply(const std::string& raw, Subnode& subnode, const Staged& staged,
                            Clock::WallTime now) {
  RAS1_FUNCTION();
  const bool wasOnline = subnode.current && subnode.current->state == SubnodeState::Online;
  if (staged.gone) {
    if (wasOnline) {
      subnode.current->state = SubnodeState::Offline;
      subnode.current->since = now;
      subnode.changed = true;
    }
    RAS1_PRINT_IF(kRas1State, "subnode %s is gone", subnode.current->name.c_str());
    return;
  }
  SubnodeInfo next;
  next.name = fromModifiedUtf8(raw);
  next.product = fromModifiedUtf8(staged.registration.product);
  next.version = fromModifiedUtf8(staged.registration.version);
  for (const std::string& affinity : staged.registration.affinities) {
    next.affinities.push_back(fromModifiedUtf8(affinity));
  }
  next.since = wasOnline ? subnode.current->since : now;
  next.info = staged.info.value_or(wasOnline ? subnode.current->info : std::string());
  RAS1_PRINT_IF(kRas1State, "subnode %s is registered", next.name.c_str());
  subnode.changed = subnode.changed || !wasOnline || !isSame(next, *subnode.current);
  subnode.current = std::move(next);
}

std::vector<SubnodeInfo> SubnodeRegistry::all() const {
  std::vector<SubnodeInfo> result;
  {
    const MutexLock lock(mutex_);
    for (const auto& [raw, subnode] : subnodes_) {
      if (subnode.current) {
        result.push_back(*subnode.current);
      }
    }
  }
  std::sort(result.begin(), result.end(),
            [](const SubnodeInfo& a, const SubnodeInfo& b) { return a.name < b.name; });
  return result;
}

std::vector<SubnodeName> SubnodeRegistry::askable() const {
  std::vector<SubnodeName> result;
  {
    const MutexLock lock(mutex_);
    for (const auto& [raw, subnode] : subnodes_) {
      const bool goes = subnode.staged && subnode.staged->gone;
      if (subnode.current && subnode.current->state == SubnodeState::Online && !goes) {
        result.push_back({subnode.current->name, raw});
      }
    }
  }
  std::sort(result.begin(), result.end(),
            [](const SubnodeName& a, const SubnodeName& b) { return a.shown < b.shown; });
  return result;
}

std::optional<std::string> SubnodeRegistry::whyNot(std::string_view shown) const {
  const MutexLock lock(mutex_);
  for (const auto& [raw, subnode] : subnodes_) {
    if (!subnode.current || subnode.current->name != shown) {
      continue;
    }
    if (subnode.staged && subnode.staged->gone) {
      return fmt::format("Subnode '{}' is being deregistered.", shown);
    }
    if (subnode.current->state == SubnodeState::Offline) {
      return fmt::format("Subnode '{}' has been deregistered.", shown);
    }
  }
  return std::nullopt;
}

}  // namespace fw
