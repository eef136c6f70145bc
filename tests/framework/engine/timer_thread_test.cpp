#include "engine/timer_thread.h"

#include <gtest/gtest.h>

#include <atomic>

#include "engine/timer_queue.h"
#include "support/test_table.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

TEST(TimerThreadTest, FiresActionsThatWereAddedBeforeAndAfterItsStart) {
  TimerQueue timers(Clock::system());
  std::atomic<int> fired{0};
  timers.after(1ms, [&] { ++fired; });

  const TimerThread thread(timers);
  timers.after(1h, [&] { fired += 100; });
  timers.after(2ms, [&] { ++fired; });

  EXPECT_TRUE(test::eventually([&] { return fired == 2; }));
}

TEST(TimerThreadTest, EndsWithActionsThatAreNotDue) {
  TimerQueue timers(Clock::system());
  {
    const TimerThread thread(timers);
    timers.after(1h, [] {});
  }

  EXPECT_TRUE(timers.next().has_value());
}

}  // namespace
}  // namespace fw
