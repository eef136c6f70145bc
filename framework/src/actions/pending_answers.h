#pragma once

#include <chrono>
#include <cstdint>

#include "agentfw/mutex.h"

namespace fw {

/// Counts the answers that are on their way to those who asked, so that a stop can wait for them.
/// Any thread.
class PendingAnswers final {
 public:
  void begin() {
    const MutexLock lock(mutex_);
    ++count_;
  }

  void end() {
    const MutexLock lock(mutex_);
    --count_;
    none_.notify_all();
  }

  /// False: some were still on their way after `bound`.
  bool waitNone(std::chrono::milliseconds bound) {
    MutexLock lock(mutex_);
    return none_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return count_ == 0; });
  }

 private:
  Mutex mutex_;
  CondVar none_;
  std::uint32_t count_ GUARDED_BY(mutex_) = 0;
};

}  // namespace fw
