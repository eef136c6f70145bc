#pragma once

#include <pthread.h>

#include <cstdint>

#include "agentfw/export.h"

/// @file
/// Basic services: environment, locks, time. All may be called from any thread.

/// A moment on the clock that pthread_cond_timedwait uses by default (CLOCK_REALTIME).
struct BSS1_Time {
  std::int64_t seconds;      ///< since the epoch
  std::int32_t nanoseconds;  ///< 0 to 999999999
};

/// A lock of the framework. Not recursive.
struct BSS1_Lock {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

extern "C" {

/// The value of an environment variable: from the process first, then from `environment:` in the
/// agent's configuration, then what the host has found. If there is none, `defaultValue` (may be
/// null). The text lives as long as the process.
AGENTFW_API const char* BSS1_GetEnv(const char* name, const char* defaultValue);

/// Acquires and releases a lock; 0 on success, else an errno value.
AGENTFW_API int BSS1_GetLock(BSS1_Lock* lock);
AGENTFW_API int BSS1_ReleaseLock(BSS1_Lock* lock);

AGENTFW_API void BSS1_GetTime(BSS1_Time* now);
}

/// Holds a lock for a scope.
class BSS1_LockGuard {
 public:
  explicit BSS1_LockGuard(BSS1_Lock& guarded) : lock(guarded) { BSS1_GetLock(&lock); }
  BSS1_LockGuard(const BSS1_LockGuard&) = delete;
  BSS1_LockGuard& operator=(const BSS1_LockGuard&) = delete;
  ~BSS1_LockGuard() { BSS1_ReleaseLock(&lock); }

 private:
  BSS1_Lock& lock;
};
