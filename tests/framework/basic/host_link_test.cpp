#include "basic/host_link.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace fw {
namespace {

using namespace std::chrono_literals;

class HostLinkTest : public testing::Test {
 protected:
  HostLink link;
};

class NoGuard final : public agentfw::host::CallGuard {
 public:
  void* enter() noexcept override { return nullptr; }
  void leave(void* /*token*/) noexcept override {}
};

TEST_F(HostLinkTest, TheHostIsToldOnceThatTheAgentIsReady) {
  std::vector<int> ports;
  link.onReady([&](std::uint16_t port) { ports.push_back(port); });

  link.notifyReady(8790);
  link.notifyReady(1);

  EXPECT_EQ(ports, std::vector<int>{8790});
}

TEST_F(HostLinkTest, AHostThatAsksLateIsToldAtOnce) {
  link.notifyReady(8790);
  link.notifyMainLoopEntered();
  int port = 0;
  bool entered = false;

  link.onReady([&](std::uint16_t value) { port = value; });
  link.onMainLoopEntered([&] { entered = true; });

  EXPECT_EQ(port, 8790);
  EXPECT_TRUE(entered);
}

TEST_F(HostLinkTest, ANoticeMayAskTheLink) {
  std::string failure = "not asked";
  link.onMainLoopEntered([&] { failure = link.failure(); });

  link.notifyMainLoopEntered();

  EXPECT_EQ(failure, "");
}

TEST_F(HostLinkTest, TheFirstFailureIsTheOneThatCounts) {
  EXPECT_EQ(link.failure(), "");

  link.setFailure("the port is taken");
  link.setFailure("kramain failed");

  EXPECT_EQ(link.failure(), "the port is taken");
}

TEST_F(HostLinkTest, ThereIsNoGuardUntilTheHostInstallsOne) {
  NoGuard guard;
  EXPECT_EQ(link.callGuard(), nullptr);

  link.setCallGuard(guard);

  EXPECT_EQ(link.callGuard(), &guard);
}

TEST_F(HostLinkTest, AFlushRunsAllFlushersInOrderEvenIfOneFails) {
  std::string order;
  link.addFlusher([&](std::chrono::milliseconds) { order += "a"; });
  link.addFlusher([&](std::chrono::milliseconds) {
    order += "b";
    throw std::runtime_error("disk full");
  });
  link.addFlusher([&](std::chrono::milliseconds left) {
    order += "c";
    EXPECT_LE(left, 60s);
  });

  link.flush(60s);

  EXPECT_EQ(order, "abc");
}

}  // namespace
}  // namespace fw
