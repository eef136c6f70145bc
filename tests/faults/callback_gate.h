#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

/// What the framework does about callbacks when it stops: it lets no new one in, and waits for
/// those in progress, but not for the caller's own. Safe for any thread.
class CallbackGate {
 public:
  /// Runs a callback; false when the gate is closed.
  bool pass(const std::function<void()>& callback) {
    {
      std::lock_guard lock(mutex_);
      if (isClosed_) {
        return false;
      }
      ++inside_;
    }
    ++ownInside_;
    callback();
    --ownInside_;
    std::lock_guard lock(mutex_);
    --inside_;
    changed_.notify_all();
    return true;
  }

  void close() {
    std::unique_lock lock(mutex_);
    isClosed_ = true;
    leaving_ += ownInside_;  // one that waits here itself delays no other
    changed_.notify_all();
    changed_.wait_for(lock, std::chrono::seconds(5), [this] { return inside_ <= leaving_; });
    leaving_ -= ownInside_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int inside_ = 0;         // guarded by mutex_
  int leaving_ = 0;        // guarded by mutex_: callbacks that are themselves in close()
  bool isClosed_ = false;  // guarded by mutex_
  static inline thread_local int ownInside_ = 0;
};
