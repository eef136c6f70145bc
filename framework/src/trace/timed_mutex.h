#pragma once

#include <pthread.h>

#include <chrono>
#include <ctime>
#include <mutex>

#include "agentfw/thread_annotations.h"

namespace fw::trace {

/// A mutex that can be waited for within a bound. (std::timed_mutex can, too, but waits through a
/// call that ThreadSanitizer does not know.)
class CAPABILITY("mutex") TimedMutex {
 public:
  TimedMutex() = default;
  TimedMutex(const TimedMutex&) = delete;
  TimedMutex& operator=(const TimedMutex&) = delete;
  ~TimedMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() ACQUIRE() { pthread_mutex_lock(&mutex_); }
  void unlock() RELEASE() { pthread_mutex_unlock(&mutex_); }

  /// Whether the lock was got within the bound.
  bool lockFor(std::chrono::milliseconds bound) TRY_ACQUIRE(true) {
    timespec end{};
    clock_gettime(CLOCK_REALTIME, &end);  // the clock that pthread_mutex_timedlock goes by
    const auto nanos = std::chrono::nanoseconds(end.tv_nsec) + bound;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(nanos);
    end.tv_sec += seconds.count();
    end.tv_nsec = static_cast<long>((nanos - seconds).count());
    return pthread_mutex_timedlock(&mutex_, &end) == 0;
  }

 private:
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

class SCOPED_CAPABILITY TimedMutexLock {
 public:
  explicit TimedMutexLock(TimedMutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  /// Gives back at its end what the caller holds already.
  TimedMutexLock(TimedMutex& mutex, std::adopt_lock_t /*held*/) REQUIRES(mutex) : mutex_(mutex) {}
  TimedMutexLock(const TimedMutexLock&) = delete;
  TimedMutexLock& operator=(const TimedMutexLock&) = delete;
  ~TimedMutexLock() RELEASE() { mutex_.unlock(); }

 private:
  TimedMutex& mutex_;
};

}  // namespace fw::trace
