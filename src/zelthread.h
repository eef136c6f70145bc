#pragma once

#include <pthread.h>

#include <cstring>

#include "agentfw/thread_annotations.h"

/// A POSIX mutex with default attributes: not recursive.
class CAPABILITY("mutex") ZelMutex {
 public:
  ZelMutex();
  ZelMutex(const ZelMutex&) = delete;
  ZelMutex& operator=(const ZelMutex&) = delete;
  ~ZelMutex();

  int lock() ACQUIRE();    ///< the result of pthread_mutex_lock
  int unlock() RELEASE();  ///< the result of pthread_mutex_unlock

 private:
  pthread_mutex_t mutex;
};

/// Holds a mutex for a scope.
class SCOPED_CAPABILITY ZelAutoMutex {
 public:
  explicit ZelAutoMutex(ZelMutex& guarded) ACQUIRE(guarded) : mutex(guarded) { mutex.lock(); }
  ZelAutoMutex(const ZelAutoMutex&) = delete;
  ZelAutoMutex& operator=(const ZelAutoMutex&) = delete;
  ~ZelAutoMutex() RELEASE() { mutex.unlock(); }

 private:
  ZelMutex& mutex;
};

/// A wake-up for waiting threads. It remembers nothing: a signal that arrives while nobody waits is
/// lost, and a wait may end without a signal. Keep the condition in your own flag, test it around
/// wait(), and bound the wait.
class ZelEvent {
 public:
  ZelEvent();
  ZelEvent(const ZelEvent&) = delete;
  ZelEvent& operator=(const ZelEvent&) = delete;
  ~ZelEvent();

  /// Wakes all waiters, or one of them.
  void signal(bool all);

  void wait();

  /// Waits at most `ms` milliseconds, at least 3; false only when the time ran out.
  bool wait(unsigned long ms);

 private:
  pthread_cond_t cond;
  pthread_mutex_t mutex;
};

/// Owns an array of T whose first `count` bytes begin as zeros.
template <typename T>
class ZelArray {
 public:
  explicit ZelArray(unsigned int count) : data(new T[count]) {
    std::memset(static_cast<void*>(data), 0, count);
  }
  ZelArray(const ZelArray&) = delete;
  ZelArray& operator=(const ZelArray&) = delete;
  ~ZelArray() { delete[] data; }

  operator T*() { return data; }

 private:
  T* data;
};

/// Starts a detached thread and stores its id. A thread that can't be started is traced and ends
/// the agent.
void zelThreadStart(unsigned long* threadId, void* (*routine)(void*), void* arg);
