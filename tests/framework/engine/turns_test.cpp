#include "engine/turns.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/timer_queue.h"
#include "engine/worker_lane.h"
#include "support/manual_clock.h"
#include "support/test_table.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class TurnsTest : public testing::Test {
 protected:
  ~TurnsTest() override { door.open(); }

  std::shared_ptr<Turns> make() { return std::make_shared<Turns>("jobs", lane, clock); }

  ManualClock clock;
  TimerQueue timers{clock};
  test::Door door;
  WorkerLane lane{"test", {4, 0, 2, 10s}, clock, timers};
};

TEST_F(TurnsTest, JobsRunOneAtATimeInTheirOrder) {
  const auto turns = make();
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  std::string order;

  for (char c = 'a'; c <= 'z'; ++c) {
    ASSERT_TRUE(turns->postAlways([&, c] {
      overlapped = overlapped || ++inside > 1;
      order += c;
      --inside;
    }));
  }

  ASSERT_TRUE(turns->waitIdle(30s));
  EXPECT_EQ(order, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_FALSE(overlapped);
}

TEST_F(TurnsTest, WhoWaitsForHisTurnTakesNoWorker) {
  const auto turns = make();
  for (int i = 0; i < 10; ++i) {
    turns->post([this] { door.pass(); });
  }
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_EQ(lane.status().busy, 1U);
  EXPECT_EQ(lane.status().queued, 0U);
}

TEST_F(TurnsTest, SaysForHowLongAJobHasBeenRunning) {
  const auto turns = make();
  EXPECT_EQ(turns->runningFor(), std::nullopt);
  turns->post([this] { door.pass(); });
  ASSERT_TRUE(door.awaitWaiting(1));

  clock.advance(7s);

  EXPECT_EQ(turns->runningFor(), 7s);
  EXPECT_FALSE(turns->waitIdle(1ms));
}

TEST_F(TurnsTest, AJobThatWaitsForIdleDoesNotWaitForItself) {
  const auto turns = make();
  std::atomic<bool> idle{false};

  turns->post([&] { idle = turns->waitIdle(30s); });

  ASSERT_TRUE(turns->waitIdle(30s));
  EXPECT_TRUE(idle);
}

TEST_F(TurnsTest, AThrowingJobLosesItsTurnOnly) {
  const auto turns = make();
  std::atomic<int> done{0};

  turns->post([] { throw std::runtime_error("broken"); });
  turns->post([&] { ++done; });

  ASSERT_TRUE(turns->waitIdle(30s));
  EXPECT_EQ(done, 1);
}

TEST_F(TurnsTest, AFullLaneTakesNoJobExceptOneThatMustNotBeLost) {
  const auto blocked = make();
  std::vector<std::shared_ptr<Turns>> others;
  for (int i = 0; i < 6; ++i) {
    others.push_back(make());
    ASSERT_TRUE(others.back()->post([this] { door.pass(); }));
    ASSERT_TRUE(door.awaitWaiting(std::min(i + 1, 4)));
  }
  std::atomic<int> done{0};

  EXPECT_FALSE(blocked->post([&] { done += 100; }));
  EXPECT_TRUE(blocked->postAlways([&] { ++done; }));

  door.open();
  EXPECT_TRUE(blocked->waitIdle(30s));
  EXPECT_EQ(done, 1);
}

TEST_F(TurnsTest, WhatWaitsCanBeForgottenWhenTheLaneHasStopped) {
  const auto turns = make();
  const auto owned = std::make_shared<int>(7);
  turns->post([this] { door.pass(); });
  ASSERT_TRUE(door.awaitWaiting(1));
  turns->post([owned, turns] {});
  lane.stop(1ms);

  turns->abandon();

  EXPECT_EQ(owned.use_count(), 1);
  EXPECT_FALSE(turns->waitIdle(1ms)) << "one still runs";
  door.open();
  EXPECT_TRUE(turns->waitIdle(30s));
}

TEST_F(TurnsTest, AStoppedLaneTakesNoJobAtAll) {
  const auto turns = make();
  lane.stop(30s);

  EXPECT_FALSE(turns->post([] {}));
  EXPECT_FALSE(turns->postAlways([] {}));
  EXPECT_TRUE(turns->waitIdle(0ms));
}

TEST_F(TurnsTest, AJobOnAnotherLaneStillWaitsForItsTurn) {
  WorkerLane other("other", {1, 0, 0, 10s}, clock, timers);
  const auto turns = make();
  std::atomic<int> done{0};
  std::atomic<bool> inOrder{true};
  turns->postAlways([&] {
    door.pass();
    inOrder = inOrder && ++done == 1;
  });
  ASSERT_TRUE(door.awaitWaiting(1));
  turns->postAlways(other, "job elsewhere", [&] { inOrder = inOrder && ++done == 2; });
  turns->postAlways([&] { inOrder = inOrder && ++done == 3; });
  EXPECT_EQ(other.status().queued + other.status().busy, 0U);

  door.open();

  EXPECT_TRUE(turns->waitIdle(30s));
  EXPECT_EQ(done, 3);
  EXPECT_TRUE(inOrder);
}

TEST_F(TurnsTest, JobsOfALaneThatHasStoppedAreDroppedAndTheOthersRun) {
  WorkerLane other("other", {1, 0, 0, 10s}, clock, timers);
  const auto turns = make();
  std::atomic<bool> lost{true};
  std::atomic<bool> ran{false};
  turns->postAlways([&] { door.pass(); });
  ASSERT_TRUE(door.awaitWaiting(1));
  turns->postAlways(other, "job elsewhere", [&] { lost = false; });
  turns->postAlways([&] { ran = true; });
  other.stop(30s);

  door.open();

  EXPECT_TRUE(turns->waitIdle(30s));
  EXPECT_TRUE(lost);
  EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace fw
