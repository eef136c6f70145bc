#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/ras1.h"
#include "trace/trace_settings.h"

namespace fw::trace {

/// A source file that traces, and what it traces.
struct UnitInfo {
  std::string name;
  std::string file;
  std::string component;
  std::uint32_t mask = 0;
};

/// The units that have asked for their mask, and the rules that give them one. Several source files
/// may share a unit's name. Any thread.
///
/// Holds the address of each unit's data: a unit must live as long as the registry, so a library
/// that traces is never unloaded.
class UnitRegistry {
 public:
  UnitRegistry() = default;
  UnitRegistry(const UnitRegistry&) = delete;
  UnitRegistry& operator=(const UnitRegistry&) = delete;

  /// The mask of the entry's unit. Remembers the unit, unless the entry has no data or is
  /// transient, and stores the mask in the unit's data, from where every later test takes it.
  std::uint32_t sync(const RAS1_Entry& entry);

  /// Replaces all rules; known units change at once.
  void setRules(std::uint32_t defaultMask, std::vector<MaskRule> rules);

  /// Adds one rule that outranks those before, in place of an earlier one with the same pattern;
  /// known units change at once. Bits that are no trace class are ignored.
  void setMask(const std::string& pattern, std::uint32_t mask);

  /// The known units, in the order in which they asked.
  std::vector<UnitInfo> units() const;

  /// Around fork(): nobody changes the registry while it is copied.
  void lock() ACQUIRE(mutex_) { mutex_.lock(); }
  void unlock() RELEASE(mutex_) { mutex_.unlock(); }

 private:
  struct Known {
    UnitInfo info;
    RAS1_UnitData* data;
  };

  std::uint32_t maskOf(const UnitInfo& unit) const REQUIRES(mutex_);
  void applyAll() REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::vector<Known> known_ GUARDED_BY(mutex_);
  std::vector<MaskRule> rules_ GUARDED_BY(mutex_);
  std::uint32_t defaultMask_ GUARDED_BY(mutex_) = kDefaultMask;
};

}  // namespace fw::trace
