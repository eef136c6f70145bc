#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace fw {

/// Counts the answers that are on their way to those who asked, so that a stop can wait for them.
/// Any thread.
class PendingAnswers final {
 public:
  void begin() {
    const std::lock_guard lock(mutex_);
    ++count_;
  }

  void end() {
    const std::lock_guard lock(mutex_);
    --count_;
    none_.notify_all();
  }

  /// False: some were still on their way after `bound`.
  bool waitNone(std::chrono::milliseconds bound) {
    std::unique_lock lock(mutex_);
    return none_.wait_for(lock, bound, [this] { return count_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable none_;
  std::uint32_t count_ = 0;  // guarded by mutex_
};

}  // namespace fw
