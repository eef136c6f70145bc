#pragma once

#include <algorithm>
#include <chrono>

#include "basic/clock.h"

namespace fw {

/// What is left of a bound that several waits share. Waits take real time, so this counts on the
/// machine's clock.
class Countdown {
 public:
  explicit Countdown(std::chrono::milliseconds bound) : end_(Clock::system().monotonic() + bound) {}

  std::chrono::milliseconds left() const {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::system().monotonic());
    return std::max(std::chrono::milliseconds(0), left);
  }

 private:
  Clock::MonotonicTime end_;
};

}  // namespace fw
