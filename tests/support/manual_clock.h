#pragma once

#include <chrono>
#include <mutex>

#include "basic/clock.h"

/// A clock that stands still until a test turns it. Any thread may ask and turn.
class ManualClock final : public fw::Clock {
 public:
  /// Starts at 2026-01-02T03:04:05Z; the monotonic side starts at 1000 s.
  ManualClock() = default;

  WallTime wall() const override {
    const std::lock_guard lock(mutex_);
    return wall_;
  }

  MonotonicTime monotonic() const override {
    const std::lock_guard lock(mutex_);
    return monotonic_;
  }

  /// Moves both sides forward.
  void advance(std::chrono::nanoseconds by) {
    const std::lock_guard lock(mutex_);
    wall_ += std::chrono::duration_cast<WallTime::duration>(by);
    monotonic_ += by;
  }

  /// Moves the time of day alone, as an operator may.
  void setWall(WallTime time) {
    const std::lock_guard lock(mutex_);
    wall_ = time;
  }

 private:
  mutable std::mutex mutex_;
  WallTime wall_{std::chrono::seconds(1'767'323'045)};    // guarded by mutex_
  MonotonicTime monotonic_{std::chrono::seconds(1'000)};  // guarded by mutex_
};
