#include "basic/clock.h"

namespace fw {
namespace {

class SystemClock final : public Clock {
 public:
  WallTime wall() const override { return std::chrono::system_clock::now(); }
  MonotonicTime monotonic() const override { return std::chrono::steady_clock::now(); }
};

}  // namespace

Clock& Clock::system() {
  static SystemClock clock;
  return clock;
}

}  // namespace fw
