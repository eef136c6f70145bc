#include "engine/worker_lane.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>

#include "engine/timer_queue.h"
#include "support/manual_clock.h"
#include "support/test_table.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class WorkerLaneTest : public testing::Test {
 protected:
  ~WorkerLaneTest() override { door.open(); }

  void start(WorkerLane::Limits limits) { lane.emplace("test", limits, clock, timers); }

  void block(int count) {
    const int before = blocked;
    blocked += count;
    for (int i = 0; i < count; ++i) {
      ASSERT_TRUE(lane->post("blocking", [this] { door.pass(); }));
    }
    ASSERT_TRUE(door.awaitWaiting(before + count));
  }

  void advance(std::chrono::milliseconds by) {
    clock.advance(by);
    timers.fireDue();
  }

  ManualClock clock;
  TimerQueue timers{clock};
  std::atomic<int> done{0};
  int blocked = 0;
  std::optional<WorkerLane> lane;
  test::Door door;
};

TEST_F(WorkerLaneTest, StartsThreadsOnlyWhenThereIsWork) {
  start({4, 0, 0, 10s});
  EXPECT_EQ(lane->status().threads, 0U);

  block(2);

  EXPECT_EQ(lane->status().threads, 2U);
  EXPECT_EQ(lane->status().busy, 2U);
}

TEST_F(WorkerLaneTest, RunsEveryTaskOnce) {
  start({3, 0, 0, 10s});

  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(lane->post("counting", [this] { ++done; }));
  }

  EXPECT_TRUE(test::eventually([this] { return done == 1000; }));
  EXPECT_LE(lane->status().threads, 3U);
}

TEST_F(WorkerLaneTest, RefusesTasksWhenTheQueueIsFullButNotTheNextStepOfOne) {
  start({1, 0, 2, 10s});
  block(1);

  EXPECT_TRUE(lane->post("waiting", [this] { ++done; }));
  EXPECT_TRUE(lane->post("waiting", [this] { ++done; }));
  EXPECT_FALSE(lane->post("too many", [this] { ++done; }));
  EXPECT_TRUE(lane->postNext("next step", [this] { ++done; }));
  EXPECT_EQ(lane->status().queued, 3U);

  door.open();
  EXPECT_TRUE(test::eventually([this] { return done == 3; }));
}

TEST_F(WorkerLaneTest, AThrowingTaskCostsNothing) {
  start({1, 0, 0, 10s});

  lane->post("throwing", [] { throw std::runtime_error("broken"); });
  lane->post("throwing", [] { throw 7; });
  lane->post("counting", [this] { ++done; });

  EXPECT_TRUE(test::eventually([this] { return done == 1; }));
}

TEST_F(WorkerLaneTest, AStandInStartsWhenWorkWaitsBehindSlowTasks) {
  start({2, 2, 0, 10s});
  block(2);
  lane->post("waiting", [this] { ++done; });
  advance(WorkerLane::kGrowAfter - 1ms);
  EXPECT_EQ(lane->status().threads, 2U);

  advance(1ms);

  EXPECT_TRUE(test::eventually([this] { return done == 1; }));
  EXPECT_TRUE(test::eventually([this] { return lane->status().threads == 2; }))
      << "the stand-in ends when it is not needed any more";
}

TEST_F(WorkerLaneTest, ReportsAStuckTaskAndReplacesItsWorkerAtOnce) {
  start({1, 1, 0, 10s});
  block(1);

  advance(10s);

  EXPECT_EQ(lane->status().stuck, 1U);
  lane->post("counting", [this] { ++done; });
  EXPECT_TRUE(test::eventually([this] { return done == 1; })) << "without a turn of the clock";
}

TEST_F(WorkerLaneTest, AStuckTaskThatReturnsIsForgiven) {
  start({1, 1, 0, 10s});
  block(1);
  advance(10s);

  door.open();

  EXPECT_TRUE(test::eventually([this] { return lane->status().stuck == 0; }));
  lane->post("counting", [this] { ++done; });
  EXPECT_TRUE(test::eventually([this] { return done == 1; }));
  EXPECT_LE(lane->status().threads, 2U);
}

TEST_F(WorkerLaneTest, StandInsAreBoundedAndTheBoundIsCounted) {
  start({1, 1, 0, 10s});
  block(1);
  advance(10s);
  block(1);
  lane->post("waiting", [this] { ++done; });

  advance(WorkerLane::kGrowAfter);

  EXPECT_EQ(lane->status().threads, 2U);
  EXPECT_EQ(lane->status().saturations, 1U);
  EXPECT_EQ(done, 0);
  door.open();
  EXPECT_TRUE(test::eventually([this] { return done == 1; }));
}

TEST_F(WorkerLaneTest, StopDropsWhatWaitsAndLeavesWhatDoesNotReturn) {
  start({1, 0, 0, 10s});
  block(1);
  lane->post("waiting", [this] { ++done; });

  EXPECT_FALSE(lane->stop(1ms));
  EXPECT_FALSE(lane->post("late", [this] { ++done; }));
  EXPECT_FALSE(lane->postNext("late", [this] { ++done; }));
  door.open();
  EXPECT_TRUE(lane->stop(30s));
  EXPECT_EQ(done, 0);
}

}  // namespace
}  // namespace fw
