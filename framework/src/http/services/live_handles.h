#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace fw::http {

/// Objects under numbers that are given once and never again, so that the handle of an object that
/// is gone never reaches another one. Any thread may call.
template <typename Object>
class LiveHandles {
 public:
  /// Handles are counted from `first`.
  explicit LiveHandles(std::uint64_t first) : next_(first) {}

  std::uint64_t add(std::shared_ptr<Object> object) {
    const std::lock_guard lock(mutex_);
    objects_.emplace(next_, std::move(object));
    return next_++;
  }

  /// The object, or null.
  std::shared_ptr<Object> find(std::uint64_t handle) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : found->second;
  }

  void remove(std::uint64_t handle) {
    const std::lock_guard lock(mutex_);
    objects_.erase(handle);
  }

 private:
  mutable std::mutex mutex_;
  std::uint64_t next_;                                                  // guarded by mutex_
  std::unordered_map<std::uint64_t, std::shared_ptr<Object>> objects_;  // guarded by mutex_
};

}  // namespace fw::http
