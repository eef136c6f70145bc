#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/res1.h"

namespace fw {

/// Handles to resources of the framework, with use counts.
///
/// A handle carries the generation of its slot, so a removed one is distinguished from one that
/// took its slot later. Any thread may call; no lock is held while `onUnused` runs.
class HandleTable {
 public:
  static constexpr std::uint32_t kMaxHandles = 1U << 18U;

  /// What use() and drop() return besides 0.
  static constexpr int kUnknownHandle = 1;
  static constexpr int kNotInUse = 2;
  static constexpr int kTooManyUses = 3;

  /// Told that a handle's last use was given back, on the thread that gave it back: it must only
  /// note the fact and leave the work to another thread. A new use may have been taken meanwhile.
  using Unused = std::function<void(RES1_Handle)>;

  HandleTable() = default;
  HandleTable(const HandleTable&) = delete;
  HandleTable& operator=(const HandleTable&) = delete;

  /// The process's table, which UseHandle and RES1_Drop count in; never destroyed.
  static HandleTable& instance();

  /// A new handle with no use; 0 when the table is full.
  RES1_Handle add(Unused onUnused = {});

  /// Has `onUnused` called instead of what add() named; false for an unknown handle.
  bool watch(RES1_Handle handle, Unused onUnused);

  /// Takes one use; 0, or an error code.
  int use(RES1_Handle handle);

  /// Gives one use back; 0, or an error code.
  int drop(RES1_Handle handle);

  /// The number of uses; nothing for an unknown handle.
  std::optional<std::uint32_t> uses(RES1_Handle handle) const;

  /// Ends a handle unless it is in use; false when it is, or is unknown. The decision is atomic:
  /// once this returns true no further use() succeeds, so the resource may go.
  bool removeUnused(RES1_Handle handle);

  /// Ends a handle whatever its uses; false when it is unknown.
  bool remove(RES1_Handle handle);

  /// Handles that exist now.
  std::uint32_t size() const;

 private:
  struct Slot {
    std::uint32_t generation = 1;
    std::uint32_t uses = 0;
    bool taken = false;
    Unused onUnused;
  };

  Slot* find(RES1_Handle handle) REQUIRES(mutex_);
  const Slot* find(RES1_Handle handle) const REQUIRES(mutex_);
  void release(Slot& slot, RES1_Handle handle) REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::vector<Slot> slots_ GUARDED_BY(mutex_);
  std::deque<std::uint32_t> free_ GUARDED_BY(mutex_);  // oldest first, so that slots rest long
  std::uint32_t size_ GUARDED_BY(mutex_) = 0;
};

}  // namespace fw
