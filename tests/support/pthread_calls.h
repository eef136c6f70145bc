#pragma once

#include <pthread.h>

#include <atomic>
#include <ctime>
#include <functional>
#include <mutex>
#include <vector>

/// @file
/// Watches what the library does with conditions and threads, and lets a thread's start fail. The
/// program is linked so that these calls come here first: see zel_watch_pthread() in the build
/// files. Include it in one source file of a program.

namespace fake {

/// A wait on a condition, noted when it begins.
struct PthreadWait {
  pthread_t thread;
  const void* condition;
  const void* mutex;
  bool bounded;
  timespec deadline;  ///< of a bounded wait
};

/// A thread that was to start.
struct PthreadStart {
  void* (*routine)(void*);
  const void* argument;
};

/// One per process, safe for any thread; reset() it before each test.
class PthreadCalls {
 public:
  static PthreadCalls& get() {
    static PthreadCalls& instance = *new PthreadCalls;  // outlives every thread that waits
    return instance;
  }

  void reset() {
    std::lock_guard lock(mutex_);
    waits_.clear();
    starts_.clear();
    onBroadcast = nullptr;
    createResult = 0;
  }

  /// The waits of all threads, in order.
  std::vector<PthreadWait> waits() const {
    std::lock_guard lock(mutex_);
    return waits_;
  }

  /// The waits of the calling thread.
  std::vector<PthreadWait> ownWaits() const {
    std::vector<PthreadWait> own = waits();
    std::erase_if(own, [](const PthreadWait& wait) {
      return pthread_equal(wait.thread, pthread_self()) == 0;
    });
    return own;
  }

  /// The threads that were to run a routine, in order.
  std::vector<PthreadStart> startsOf(void* (*routine)(void*)) const {
    std::lock_guard lock(mutex_);
    std::vector<PthreadStart> found = starts_;
    std::erase_if(found, [&](const PthreadStart& start) { return start.routine != routine; });
    return found;
  }

  void add(const PthreadWait& wait) {
    std::lock_guard lock(mutex_);
    waits_.push_back(wait);
  }

  void add(const PthreadStart& start) {
    std::lock_guard lock(mutex_);
    starts_.push_back(start);
  }

  std::function<void(const void* condition)> onBroadcast;  ///< runs before the waiters wake
  std::atomic<int> createResult{0};  ///< other than 0: no thread starts, with this result

 private:
  mutable std::mutex mutex_;
  std::vector<PthreadWait> waits_;    // guarded by mutex_
  std::vector<PthreadStart> starts_;  // guarded by mutex_
};

}  // namespace fake

extern "C" {

int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_broadcast(pthread_cond_t* condition);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
  fake::PthreadCalls::get().add({pthread_self(), condition, mutex, true, *deadline});
  return __real_pthread_cond_timedwait(condition, mutex, deadline);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  fake::PthreadCalls::get().add({pthread_self(), condition, mutex, false, {}});
  return __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_broadcast(pthread_cond_t* condition) {
  if (const auto& hook = fake::PthreadCalls::get().onBroadcast; hook) {
    hook(condition);
  }
  return __real_pthread_cond_broadcast(condition);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
  fake::PthreadCalls::get().add(fake::PthreadStart{routine, argument});
  const int result = fake::PthreadCalls::get().createResult.load();
  return result != 0 ? result : __real_pthread_create(thread, attributes, routine, argument);
}
}
