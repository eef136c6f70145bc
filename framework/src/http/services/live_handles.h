#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

#include "agentfw/mutex.h"

namespace fw::http {

/// Objects under numbers that are given once and never again, so that the handle of an object that
/// is gone never reaches another one. Any thread may call.
template <typename Object>
class LiveHandles {
 public:
  /// Handles are counted from `first`.
  explicit LiveHandles(std::uint64_t first) : next_(first) {}

  std::uint64_t add(std::shared_ptr<Object> object) {
    const MutexLock lock(mutex_);
    objects_.emplace(next_, std::move(object));
    return next_++;
  }

  /// The object, or null.
  std::shared_ptr<Object> find(std::uint64_t handle) const {
    const MutexLock lock(mutex_);
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : found->second;
  }

  void remove(std::uint64_t handle) {
    const MutexLock lock(mutex_);
    objects_.erase(handle);
  }

 private:
  mutable Mutex mutex_;
  std::uint64_t next_ GUARDED_BY(mutex_);
  std::unordered_map<std::uint64_t, std::shared_ptr<Object>> objects_ GUARDED_BY(mutex_);
};

}  // namespace fw::http
