#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agentfw/host.h"
#include "agentfw/mutex.h"

namespace fw {

/// What the host has asked of the framework, where the framework's modules find it, and what they
/// report back to it. Any thread; no lock is held while a notice or a flusher runs.
class HostLink {
 public:
  using CallGuard = agentfw::host::CallGuard;
  using Flusher = std::function<void(std::chrono::milliseconds bound)>;

  /// The process's link; never destroyed.
  static HostLink& instance();

  void setCallGuard(CallGuard& guard);
  void onReady(std::function<void(std::uint16_t)> notice);
  void onMainLoopEntered(std::function<void()> notice);

  /// The guard around callbacks into the agent; null when the host has none.
  CallGuard* callGuard() const;

  /// Tells the host; only the first call counts, and a host that asks later is told at once.
  void notifyReady(std::uint16_t port);
  void notifyMainLoopEntered();

  /// Remembers why the agent can't run. The first reason counts: later ones tend to follow from it.
  void setFailure(const std::string& reason);
  std::string failure() const;

  /// Adds something that flush() writes out; it must live as long as the process.
  void addFlusher(Flusher flusher);

  /// Runs the flushers in the order in which they were added. Each gets what is left of `bound`,
  /// and is passed over when nothing is left; one that throws does not stop the rest.
  void flush(std::chrono::milliseconds bound) noexcept;

 private:
  mutable Mutex mutex_;
  CallGuard* guard_ GUARDED_BY(mutex_) = nullptr;  // not owned
  std::function<void(std::uint16_t)> readyNotice_ GUARDED_BY(mutex_);
  std::function<void()> mainLoopNotice_ GUARDED_BY(mutex_);
  bool ready_ GUARDED_BY(mutex_) = false;
  std::uint16_t port_ GUARDED_BY(mutex_) = 0;
  bool mainLoopEntered_ GUARDED_BY(mutex_) = false;
  std::string failure_ GUARDED_BY(mutex_);
  std::vector<Flusher> flushers_ GUARDED_BY(mutex_);
};

}  // namespace fw
