#include "signal_policy.h"

#include <gtest/gtest.h>

#include <csignal>
#include <map>

namespace host {
namespace {

void handleTerm(int) {}
void handleHangUp(int) {}

class SignalPolicyTest : public testing::Test {
 protected:
  std::optional<SignalPolicy::Delivery> next() {
    return policy.next([this](int sig) {
      const auto found = handlers.find(sig);
      return found == handlers.end() ? nullptr : found->second;
    });
  }

  SignalPolicy policy;
  std::map<int, SignalHandler> handlers;
};

TEST_F(SignalPolicyTest, HoldsAStopUntilItIsOpened) {
  policy.received(SIGTERM);
  EXPECT_FALSE(next());
  EXPECT_TRUE(policy.stopAsked());
  EXPECT_FALSE(policy.stopBegun());

  policy.open();

  EXPECT_TRUE(next());
  EXPECT_TRUE(policy.stopBegun());
}

TEST_F(SignalPolicyTest, CallsTheHandlerThatTheLibraryAskedFor) {
  handlers[SIGTERM] = handleTerm;
  policy.open();
  policy.received(SIGTERM);

  const auto delivery = next();

  ASSERT_TRUE(delivery);
  EXPECT_EQ(delivery->signal, SIGTERM);
  EXPECT_EQ(delivery->handler, handleTerm);
}

TEST_F(SignalPolicyTest, StopsTheAgentOnASignalThatTheLibraryHasNotAskedFor) {
  handlers[SIGTERM] = handleTerm;
  policy.open();
  policy.received(SIGINT);

  const auto delivery = next();

  ASSERT_TRUE(delivery);
  EXPECT_EQ(delivery->handler, nullptr);
}

TEST_F(SignalPolicyTest, BeginsAStopOnce) {
  policy.open();
  policy.received(SIGTERM);
  policy.received(SIGINT);
  ASSERT_TRUE(next());

  policy.received(SIGTERM);

  EXPECT_FALSE(next());
}

TEST_F(SignalPolicyTest, BeginsNoStopOfAnAgentThatAlreadyEnds) {
  handlers[SIGTERM] = handleTerm;
  policy.open();
  policy.agentEnds();

  policy.received(SIGTERM);

  EXPECT_FALSE(next());
  EXPECT_TRUE(policy.stopAsked());
  EXPECT_FALSE(policy.stopBegun());
}

TEST_F(SignalPolicyTest, KeepsAHangUpUntilTheLibraryAsksForIt) {
  policy.open();
  policy.received(SIGHUP);
  EXPECT_FALSE(next());
  EXPECT_FALSE(policy.stopAsked());

  handlers[SIGHUP] = handleHangUp;
  const auto delivery = next();

  ASSERT_TRUE(delivery);
  EXPECT_EQ(delivery->handler, handleHangUp);
  EXPECT_FALSE(next());
}

TEST_F(SignalPolicyTest, DropsWhatTheLibraryWantsIgnored) {
  handlers[SIGTERM] = SIG_IGN;
  handlers[SIGHUP] = SIG_IGN;
  policy.open();
  policy.received(SIGHUP);
  policy.received(SIGTERM);

  EXPECT_FALSE(next());
  EXPECT_FALSE(policy.stopAsked());
}

TEST_F(SignalPolicyTest, DeliversAHangUpBeforeAStop) {
  handlers[SIGHUP] = handleHangUp;
  policy.open();
  policy.received(SIGTERM);
  policy.received(SIGHUP);

  EXPECT_EQ(next()->signal, SIGHUP);
  EXPECT_EQ(next()->signal, SIGTERM);
}

}  // namespace
}  // namespace host
