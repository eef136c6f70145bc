#pragma once

#include <pthread.h>

#include <chrono>
#include <ctime>

namespace fw::trace {

/// A mutex that can be waited for within a bound. (std::timed_mutex can, too, but waits through a
/// call that ThreadSanitizer does not know.)
class TimedMutex {
 public:
  TimedMutex() = default;
  TimedMutex(const TimedMutex&) = delete;
  TimedMutex& operator=(const TimedMutex&) = delete;
  ~TimedMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }

  /// Whether the lock was got within the bound.
  bool lockFor(std::chrono::milliseconds bound) {
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

}  // namespace fw::trace
