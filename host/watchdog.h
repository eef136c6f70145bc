#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace host {

/// Calls a function, on a thread of its own, when a stop takes longer than its limit.
///
/// The thread exists from the start, so that it needs nothing of a process in trouble.
class Watchdog {
 public:
  Watchdog(std::chrono::milliseconds limit, std::function<void()> bite);
  /// Calls the watchdog off.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  /// Starts the clock; later calls do nothing. From any thread.
  void arm();

 private:
  void watch();

  const std::chrono::milliseconds limit_;
  const std::function<void()> bite_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool armed_ = false;      // guarded by mutex_
  bool calledOff_ = false;  // guarded by mutex_
  std::thread thread_;
};

}  // namespace host
