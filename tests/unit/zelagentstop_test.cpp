// How the agent ends, and how others wait for that.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "support/agent_fixture.h"
#include "support/pthread_calls.h"
#include "support/trace_view.h"
#include "zelapi.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZelAgentStopTest : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    pthreads.reset();
  }
  void TearDown() override {
    pthreads.reset();
    AgentTest::TearDown();
  }

  fake::PthreadCalls& pthreads = fake::PthreadCalls::get();
};

TEST_F(ZelAgentStopTest, ASecondShutdownBuildsNoClientAndReportsWhy) {
  inMainLoop = [this] {
    zelAgentStop();
    bridge.failCreation = true;
    zelAgentStop();
  };

  EXPECT_EQ(zelAgentStart(), 0);

  EXPECT_EQ(bridge.sentOf(4).size(), 1u);
  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'no client'"));
  EXPECT_EQ(framework.countMessages("Agent shuts down ..."), 2u);
}

TEST_F(ZelAgentStopTest, StopTellsTheApplicationBeforeItShutsDown) {
  std::vector<std::string> atRequest;
  bridge.onSent[4] = [&](const fake::Sent& sent) {
    EXPECT_EQ(sent.type, ZelMsg::Request);
    atRequest = framework.callsOf("IRA_Shutdown");
  };
  inMainLoop = [] { zelAgentStop(); };

  zelAgentStart();

  EXPECT_EQ(bridge.sentOf(4).size(), 1u);
  EXPECT_THAT(atRequest, IsEmpty());
  EXPECT_THAT(framework.callsOf("IRA_Shutdown"), ElementsAre("IRA_Shutdown(1)"));
  EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_EQ(zelWaitForAgentShutdown(0), 1);
}

TEST_F(ZelAgentStopTest, StopBeforeStartSendsNoRequestButShutsDown) {
  zelAgentStop();

  EXPECT_THAT(bridge.sent(), IsEmpty());
  EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
  EXPECT_THAT(framework.calls(), ElementsAre("IRA_Shutdown(1)"));
}

TEST_F(ZelAgentStopTest, EveryRunOfShutdownRepeatsAllSteps) {
  ZelAgent::shutdown();
  ZelAgent::shutdown();

  EXPECT_EQ(framework.countMessages("Agent shuts down ..."), 2u);
  EXPECT_EQ(framework.callsOf("IRA_Shutdown").size(), 2u);
}

TEST_F(ZelAgentStopTest, WaitingWithZeroOnlyReadsTheFlag) {
  EXPECT_EQ(zelWaitForAgentShutdown(0), 0);
  ZelAgent::s_isShutdown.store(true);
  EXPECT_EQ(zelWaitForAgentShutdown(0), 1);
}

TEST_F(ZelAgentStopTest, WaitingEndsWithoutShutdownWhenTheTimeRunsOut) {
  EXPECT_EQ(zelWaitForAgentShutdown(3), 0);
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentStopTest, AWaitNeverClearsTheFlag) {
  ZelAgent::s_isShutdown.store(true);

  EXPECT_TRUE(ZelAgent::isShutdown(3));
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentStopTest, NobodyWaitsForAShutdownThatHasBegun) {
  framework.timeSeconds = 1000;  // long past: a wait would end at once
  ZelAgent::s_isShutdown.store(true);

  EXPECT_EQ(zelWaitForAgentShutdown(20000), 1);

  EXPECT_THAT(pthreads.ownWaits(), IsEmpty());
}

TEST_F(ZelAgentStopTest, WaitingEndsWhenShutdownBegins) {
  std::atomic<int> result{-1};
  std::thread waiter([&] { result.store(zelWaitForAgentShutdown(20000)); });

  while (result.load() == -1) {
    ZelAgent::shutdown();
    std::this_thread::yield();
  }

  waiter.join();
  EXPECT_EQ(result.load(), 1);
}

TEST_F(ZelAgentStopTest, ShutdownRaisesTheFlagWakesTracesEndsTheMainLoopAndDestroysInThatOrder) {
  ZelClient::getInstance();
  std::vector<std::string> steps;
  pthreads.onBroadcast = [&](const void* condition) {
    if (condition == &ZelAgent::s_shutdownEvent) {
      EXPECT_TRUE(ZelAgent::s_isShutdown.load());
      EXPECT_FALSE(framework.hasMessage("Agent shuts down ..."));
      EXPECT_THAT(framework.callsOf("IRA_Shutdown"), IsEmpty());
      EXPECT_NE(ZelClient::s_inst.load(), nullptr);
      steps.push_back("wake");
    }
  };
  framework.onCall["IRA_Shutdown"] = [&] {
    EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
    EXPECT_NE(ZelClient::s_inst.load(), nullptr);
    steps.push_back("end");
  };

  ZelAgent::shutdown();

  EXPECT_THAT(steps, ElementsAre("wake", "end"));
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
}

TEST_F(ZelAgentStopTest, AWaiterThatIsWokenWithoutTheFlagRaisesIt) {
  std::atomic<int> result{-1};
  std::thread waiter([&] { result.store(ZelAgent::isShutdown(20000) ? 1 : 0); });

  while (result.load() == -1) {
    ZelAgent::s_shutdownEvent.signal(true);
    std::this_thread::yield();
  }

  waiter.join();
  EXPECT_EQ(result.load(), 1);
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentStopTest, WaitingWithZeroWaitsOnNothing) {
  zelWaitForAgentShutdown(0);

  EXPECT_THAT(pthreads.ownWaits(), IsEmpty());
}

TEST_F(ZelAgentStopTest, AnUnknownExceptionOfTheShutdownRequestEndsTheProcess) {
  bridge.onSent[4] = [](const fake::Sent&) { throw 5; };
  inMainLoop = [] { zelAgentStop(); };
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        zelAgentStart();
      },
      testing::ExitedWithCode(255), "ZELAGENT stop: " + std::string(kUnknownExceptionText));
}

}  // namespace
