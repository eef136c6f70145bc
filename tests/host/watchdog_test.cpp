#include "watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace host {
namespace {

using namespace std::chrono_literals;

TEST(WatchdogTest, BitesOnceItsLimitHasPassed) {
  std::promise<void> bitten;
  auto bite = bitten.get_future();
  Watchdog watchdog(1ms, [&] { bitten.set_value(); });

  watchdog.arm();
  watchdog.arm();

  EXPECT_EQ(bite.wait_for(60s), std::future_status::ready);
}

TEST(WatchdogTest, NeverBitesWhenItIsCalledOffInTime) {
  std::atomic<bool> bitten{false};
  {
    Watchdog watchdog(1h, [&] { bitten = true; });
    watchdog.arm();
  }
  EXPECT_FALSE(bitten);
}

TEST(WatchdogTest, NeverBitesUnarmed) {
  std::atomic<bool> bitten{false};
  {
    Watchdog watchdog(0ms, [&] { bitten = true; });
  }
  EXPECT_FALSE(bitten);
}

}  // namespace
}  // namespace host
