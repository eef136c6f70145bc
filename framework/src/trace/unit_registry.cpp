#include "trace/unit_registry.h"

#include <algorithm>
#include <utility>

namespace fw::trace {
namespace {

constexpr std::string_view kFilePrefix = "file:";
constexpr std::string_view kComponentPrefix = "component:";

bool fits(const UnitInfo& unit, std::string_view pattern) {
  if (pattern.substr(0, kFilePrefix.size()) == kFilePrefix) {
    return matchesPattern(pattern.substr(kFilePrefix.size()), unit.file);
  }
  if (pattern.substr(0, kComponentPrefix.size()) == kComponentPrefix) {
    return matchesPattern(pattern.substr(kComponentPrefix.size()), unit.component);
  }
  return matchesPattern(pattern, unit.name);
}

UnitInfo describe(const RAS1_Unit& unit) {
  return {std::string(unit.name, unit.nameLength), std::string(unit.file, unit.fileLength),
          std::string(unit.component, unit.componentLength), 0};
}

}  // namespace

std::uint32_t UnitRegistry::sync(const RAS1_Entry& entry) {
  UnitInfo info = describe(*entry.unit);
  const MutexLock lock(mutex_);
  info.mask = maskOf(info);
  const std::uint32_t mask = info.mask;
  if (entry.data == nullptr) {
    return mask;
  }
  // The address of a transient unit's data may be another unit's next time.
  if ((entry.flags & kRas1Transient) == 0) {
    const bool known = std::any_of(known_.begin(), known_.end(), [&](const Known& candidate) {
      return candidate.data == entry.data;
    });
    if (!known) {
      known_.push_back({std::move(info), entry.data});
    }
  }
  entry.data->mask.store(mask, std::memory_order_relaxed);
  return mask;
}

void UnitRegistry::setRules(std::uint32_t defaultMask, std::vector<MaskRule> rules) {
  const MutexLock lock(mutex_);
  defaultMask_ = defaultMask & kAllClasses;
  rules_ = std::move(rules);
  applyAll();
}

void UnitRegistry::setMask(const std::string& pattern, std::uint32_t mask) {
  const MutexLock lock(mutex_);
  std::erase_if(rules_, [&](const MaskRule& rule) { return rule.pattern == pattern; });
  rules_.push_back({pattern, mask});
  applyAll();
}

std::vector<UnitInfo> UnitRegistry::units() const {
  const MutexLock lock(mutex_);
  std::vector<UnitInfo> units;
  units.reserve(known_.size());
  for (const Known& known : known_) {
    units.push_back(known.info);
  }
  return units;
}

std::uint32_t UnitRegistry::maskOf(const UnitInfo& unit) const {
  const auto last = std::find_if(rules_.rbegin(), rules_.rend(),
                                 [&](const MaskRule& rule) { return fits(unit, rule.pattern); });
  return last == rules_.rend() ? defaultMask_ : last->mask & kAllClasses;
}

void UnitRegistry::applyAll() {
  for (Known& known : known_) {
    known.info.mask = maskOf(known.info);
    known.data->mask.store(known.info.mask, std::memory_order_relaxed);
  }
}

}  // namespace fw::trace
