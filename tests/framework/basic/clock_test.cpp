#include "basic/clock.h"

#include <gtest/gtest.h>

#include "support/manual_clock.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

TEST(ClockTest, TheSystemClockGoesByTheMachine) {
  const auto wall = std::chrono::system_clock::now();
  const auto monotonic = std::chrono::steady_clock::now();

  EXPECT_GE(Clock::system().wall(), wall);
  EXPECT_GE(Clock::system().monotonic(), monotonic);
}

TEST(ClockTest, AManualClockMovesBothSidesWhenItIsTurned) {
  ManualClock clock;
  const auto wall = clock.wall();
  const auto monotonic = clock.monotonic();

  clock.advance(95s);

  EXPECT_EQ(clock.wall() - wall, 95s);
  EXPECT_EQ(clock.monotonic() - monotonic, 95s);
}

TEST(ClockTest, TheTimeOfDayMayJumpAlone) {
  ManualClock clock;
  const auto monotonic = clock.monotonic();

  clock.setWall(Clock::WallTime(1s));

  EXPECT_EQ(clock.wall(), Clock::WallTime(1s));
  EXPECT_EQ(clock.monotonic(), monotonic);
}

}  // namespace
}  // namespace fw
