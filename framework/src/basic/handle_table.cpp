#include "basic/handle_table.h"

#include <limits>
#include <utility>

namespace fw {
namespace {

// A handle: generation in the upper 14 bits, never 0, slot index in the lower 18.
constexpr std::uint32_t kIndexBits = 18;
constexpr std::uint32_t kIndexMask = (1U << kIndexBits) - 1;
constexpr std::uint32_t kMaxGeneration = std::numeric_limits<std::uint32_t>::max() >> kIndexBits;

static_assert(HandleTable::kMaxHandles == kIndexMask + 1);

}  // namespace

HandleTable& HandleTable::instance() {
  static auto& table = *new HandleTable;
  return table;
}

RES1_Handle HandleTable::add(Unused onUnused) {
  const MutexLock lock(mutex_);
  std::uint32_t index = 0;
  if (!free_.empty()) {
    index = free_.front();
    free_.pop_front();
  } else if (slots_.size() < kMaxHandles) {
    index = static_cast<std::uint32_t>(slots_.size());
    slots_.emplace_back();
  } else {
    return 0;
  }
  Slot& slot = slots_[index];
  slot.taken = true;
  slot.uses = 0;
  slot.onUnused = std::move(onUnused);
  ++size_;
  return slot.generation << kIndexBits | index;
}

bool HandleTable::watch(RES1_Handle handle, Unused onUnused) {
  const MutexLock lock(mutex_);
  Slot* const slot = find(handle);
  if (slot == nullptr) {
    return false;
  }
  slot->onUnused.swap(onUnused);
  return true;
}

int HandleTable::use(RES1_Handle handle) {
  const MutexLock lock(mutex_);
  Slot* slot = find(handle);
  if (slot == nullptr) {
    return kUnknownHandle;
  }
  if (slot->uses == std::numeric_limits<std::uint32_t>::max()) {
    return kTooManyUses;
  }
  ++slot->uses;
  return 0;
}

int HandleTable::drop(RES1_Handle handle) {
  Unused onUnused;
  {
    const MutexLock lock(mutex_);
    Slot* slot = find(handle);
    if (slot == nullptr) {
      return kUnknownHandle;
    }
    if (slot->uses == 0) {
      return kNotInUse;
    }
    if (--slot->uses == 0) {
      onUnused = slot->onUnused;
    }
  }
  if (onUnused) {
    onUnused(handle);
  }
  return 0;
}

std::optional<std::uint32_t> HandleTable::uses(RES1_Handle handle) const {
  const MutexLock lock(mutex_);
  const Slot* slot = find(handle);
  return slot == nullptr ? std::nullopt : std::optional(slot->uses);
}

bool HandleTable::removeUnused(RES1_Handle handle) {
  const MutexLock lock(mutex_);
  Slot* slot = find(handle);
  if (slot == nullptr || slot->uses != 0) {
    return false;
  }
  release(*slot, handle);
  return true;
}

bool HandleTable::remove(RES1_Handle handle) {
  const MutexLock lock(mutex_);
  Slot* slot = find(handle);
  if (slot == nullptr) {
    return false;
  }
  release(*slot, handle);
  return true;
}

std::uint32_t HandleTable::size() const {
  const MutexLock lock(mutex_);
  return size_;
}

HandleTable::Slot* HandleTable::find(RES1_Handle handle) {
  return const_cast<Slot*>(static_cast<const HandleTable*>(this)->find(handle));
}

const HandleTable::Slot* HandleTable::find(RES1_Handle handle) const {
  const std::uint32_t index = handle & kIndexMask;
  if (index >= slots_.size()) {
    return nullptr;
  }
  const Slot& slot = slots_[index];
  return slot.taken && slot.generation == handle >> kIndexBits ? &slot : nullptr;
}

void HandleTable::release(Slot& slot, RES1_Handle handle) {
  slot.taken = false;
  slot.onUnused = {};
  slot.generation = slot.generation == kMaxGeneration ? 1 : slot.generation + 1;
  free_.push_back(handle & kIndexMask);
  --size_;
}

}  // namespace fw
