#include "engine/callback_gate.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <stdexcept>
#include <string>

#include "support/test_table.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class LoggingGuard final : public HostLink::CallGuard {
 public:
  void* enter() noexcept override {
    const std::lock_guard lock(mutex);
    log += '<';
    return &log;
  }
  void leave(void* token) noexcept override {
    const std::lock_guard lock(mutex);
    log += token == &log ? '>' : '?';
  }

  std::mutex mutex;
  std::string log;  // guarded by mutex while others run
};

class CallbackGateTest : public testing::Test {
 protected:
  std::future<bool> runInBackground(test::Door& door) {
    auto running = std::async(std::launch::async, [&] { return gate.run([&] { door.pass(); }); });
    EXPECT_TRUE(door.awaitWaiting(1));
    return running;
  }

  LoggingGuard guard;
  CallbackGate gate{[this] { return &guard; }};
};

TEST_F(CallbackGateTest, RunsACallbackInsideTheHostsGuard) {
  EXPECT_TRUE(gate.run([&] { guard.log += '.'; }));

  EXPECT_EQ(guard.log, "<.>");
  EXPECT_EQ(gate.inside(), 0U);
}

TEST_F(CallbackGateTest, LeavesTheGuardWhenACallbackThrows) {
  EXPECT_THROW(gate.run([] { throw std::runtime_error("broken"); }), std::runtime_error);

  EXPECT_EQ(guard.log, "<>");
  EXPECT_EQ(gate.inside(), 0U);
}

TEST_F(CallbackGateTest, LetsNobodyInOnceItIsClosedExceptForCleanup) {
  gate.close();

  EXPECT_FALSE(gate.run([&] { guard.log += '.'; }));
  EXPECT_TRUE(gate.runCleanup([&] { guard.log += 'c'; }));
  gate.seal();
  EXPECT_FALSE(gate.runCleanup([&] { guard.log += 'd'; }));

  EXPECT_EQ(guard.log, "<c>");
}

TEST_F(CallbackGateTest, AClosedGateStaysSealed) {
  gate.seal();
  gate.close();

  EXPECT_FALSE(gate.runCleanup([] {}));
}

TEST_F(CallbackGateTest, DrainsAtOnceWhenNobodyIsInside) { EXPECT_TRUE(gate.drain(0ms)); }

TEST_F(CallbackGateTest, DrainWaitsForACallbackInProgress) {
  test::Door door;
  auto running = runInBackground(door);

  EXPECT_FALSE(gate.drain(1ms));
  door.open();
  EXPECT_TRUE(gate.drain(30s));
  EXPECT_TRUE(running.get());
}

TEST_F(CallbackGateTest, ACallbackThatDrainsDoesNotWaitForItself) {
  bool drained = false;

  gate.run([&] { drained = gate.drain(30s); });

  EXPECT_TRUE(drained);
}

TEST_F(CallbackGateTest, CallbacksThatDrainTogetherDoNotWaitForEachOther) {
  test::Door door;
  const auto drainInside = [&] {
    bool drained = false;
    gate.run([&] {
      door.pass();
      drained = gate.drain(30s);
    });
    return drained;
  };
  auto first = std::async(std::launch::async, drainInside);
  auto second = std::async(std::launch::async, drainInside);
  ASSERT_TRUE(door.awaitWaiting(2));

  door.open();

  EXPECT_TRUE(first.get());
  EXPECT_TRUE(second.get());
}

TEST_F(CallbackGateTest, WaitEmptyWaitsAlsoForACallbackThatDrains) {
  test::Door door;
  auto running = std::async(std::launch::async, [&] {
    gate.run([&] {
      gate.drain(30s);
      door.pass();
    });
  });
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_FALSE(gate.waitEmpty(1ms));
  door.open();
  EXPECT_TRUE(gate.waitEmpty(30s));
}

}  // namespace
}  // namespace fw
