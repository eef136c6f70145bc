#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "agentfw/mutex.h"

namespace host {

/// Calls a function, on its own thread, when a stop takes longer than its limit.
///
/// The thread exists from the start, so that it needs nothing from a process in trouble.
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
  fw::Mutex mutex_;
  fw::CondVar changed_;
  bool armed_ GUARDED_BY(mutex_) = false;
  bool calledOff_ GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace host
