#pragma once

#include <chrono>

namespace fw {

/// Source of time. Code takes a Clock& and never asks the system itself, so that a test can set the
/// time by hand. Any thread may ask.
class Clock {
 public:
  using WallTime = std::chrono::system_clock::time_point;
  using MonotonicTime = std::chrono::steady_clock::time_point;

  virtual ~Clock() = default;

  /// The time of day: for people and for stored timestamps; may jump.
  virtual WallTime wall() const = 0;

  /// Never jumps back: for ages, durations and deadlines.
  virtual MonotonicTime monotonic() const = 0;

  /// The machine's clock; lives as long as the process.
  static Clock& system();
};

}  // namespace fw
