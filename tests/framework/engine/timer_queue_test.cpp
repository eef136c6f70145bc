#include "engine/timer_queue.h"

#include <gtest/gtest.h>

#include <string>

#include "support/manual_clock.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class TimerQueueTest : public testing::Test {
 protected:
  ManualClock clock;
  TimerQueue timers{clock};
  std::string log;
};

TEST_F(TimerQueueTest, FiresInOrderOfTimeAndNeverEarly) {
  timers.after(20ms, [&] { log += 'b'; });
  timers.after(10ms, [&] { log += 'a'; });
  timers.after(20ms, [&] { log += 'c'; });

  clock.advance(9ms);
  timers.fireDue();
  EXPECT_EQ(log, "");

  clock.advance(11ms);
  timers.fireDue();
  EXPECT_EQ(log, "abc");
}

TEST_F(TimerQueueTest, FiresOnceOnly) {
  timers.after(1ms, [&] { log += 'a'; });
  clock.advance(1s);

  timers.fireDue();
  timers.fireDue();

  EXPECT_EQ(log, "a");
  EXPECT_EQ(timers.next(), std::nullopt);
}

TEST_F(TimerQueueTest, ForgetsWhatIsCancelled) {
  const auto id = timers.after(1ms, [&] { log += 'a'; });

  EXPECT_TRUE(timers.cancel(id));
  EXPECT_FALSE(timers.cancel(id));
  clock.advance(1s);
  timers.fireDue();

  EXPECT_EQ(log, "");
}

TEST_F(TimerQueueTest, AnActionMayAddAndCancelActions) {
  const auto later = timers.after(2ms, [&] { log += 'x'; });
  timers.after(1ms, [&] {
    log += 'a';
    timers.cancel(later);
    timers.after(0ms, [&] { log += 'b'; });
  });
  clock.advance(5ms);

  timers.fireDue();

  EXPECT_EQ(log, "ab");
}

TEST_F(TimerQueueTest, TellsWhenAnActionBecomesTheNext) {
  int notices = 0;
  timers.onNewNext([&] { ++notices; });

  timers.after(10ms, [] {});
  timers.after(20ms, [] {});
  timers.after(5ms, [] {});

  EXPECT_EQ(notices, 2);
}

}  // namespace
}  // namespace fw
