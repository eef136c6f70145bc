#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "agentfw/thread_annotations.h"

/// @file
/// std::mutex and its companions as Clang's thread safety analysis knows them. They cost what the
/// wrapped ones cost.

namespace fw {

class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }

 private:
  friend class MutexLock;

  std::mutex mutex_;
};

/// Holds a mutex for a scope; unlock() and lock() leave a gap in it.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock() RELEASE() {}

  void lock() ACQUIRE() { lock_.lock(); }
  void unlock() RELEASE() { lock_.unlock(); }

 private:
  friend class CondVar;

  std::unique_lock<std::mutex> lock_;
};

/// A predicate that reads guarded data says so: `[this]() REQUIRES(mutex_) { return ready_; }`.
class CondVar {
 public:
  template <typename Predicate>
  void wait(MutexLock& lock, Predicate isDone) {
    condition_.wait(lock.lock_, std::move(isDone));
  }

  /// What the predicate says at last: false when the time was too short.
  template <typename Rep, typename Period, typename Predicate>
  bool wait_for(MutexLock& lock, std::chrono::duration<Rep, Period> bound, Predicate isDone) {
    return condition_.wait_for(lock.lock_, bound, std::move(isDone));
  }

  void notify_one() noexcept { condition_.notify_one(); }
  void notify_all() noexcept { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace fw
