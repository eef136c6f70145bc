#include "zelagent.h"

#include <gmock/gmock.h>

#include "support/agent_fixture.h"
#include "support/pthread_calls.h"
#include "support/trace_view.h"
#include "zelapi.h"
#include "zelspawnu.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ZelAgentTest : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    pthreads.reset();
  }

  /// Runs `action` when the library reads this variable.
  void whenRead(const std::string& variable, std::function<void()> action) {
    framework.onCall["BSS1_GetEnv"] = [this, variable, action = std::move(action)] {
      if (framework.calls().back() == "BSS1_GetEnv(" + variable + ")") {
        action();
      }
    };
  }

  fake::PthreadCalls& pthreads = fake::PthreadCalls::get();
};

TEST_F(ZelAgentTest, StartRegistersWithTheFrameworkInOrderAndRunsTheMainLoop) {
  EXPECT_EQ(zelAgentStart(), 0);

  EXPECT_THAT(
      frameworkCalls(),
      ElementsAre("PFM1_Signal(39, 1)", "SIG1_Action(39, 1, 64, 0, 0, 0)", "PFM1_Signal(40, 1)",
                  "SIG1_Action(40, 1, 128, 0, 0, 0)", "PFM1_Signal(26, 1)",
                  "SIG1_Action(26, 1, 33554432, 0, 0, 0)", "IRA_SetVersionUsingProduct(JX, 16)",
                  "IRA_SetHostname(replyhost)", "IRA_SetAffinity(AFF_AGENT)",
                  "IRA_SetAffinity(AFF_FEAT_INTERNATIONALIZATION)",
                  "IRA_SetAffinity(AFF_FEAT_DM_PARITY)", "IRA_SetAffinity(AFF_VERSION)",
                  "IRA_SetCurrency(2, 4)", "IRA_RegisterCommandCallback(JX)",
                  "IRA_RegisterAgentLoader()", "kramain(1, vu_agent)"));
  EXPECT_TRUE(startedInMainLoop);
  EXPECT_FALSE(ZelAgent::s_started.load());
  EXPECT_TRUE(framework.hasMessage("Agent stopped"));
  EXPECT_EQ(framework.loader, LoadAgents);
  EXPECT_EQ(framework.commandCallback, ZelAgent::handleTakeAction);
  EXPECT_EQ(ZelAgent::s_versionAff, "AFF_VERSION");
}

TEST_F(ZelAgentTest, StartReadsTheEnvironmentInOrder) {
  zelAgentStart();

  EXPECT_THAT(
      framework.callsOf("BSS1_GetEnv"),
      ElementsAre("BSS1_GetEnv(ZEL_PROD)", "BSS1_GetEnv(ZEL_INST)", "BSS1_GetEnv(ZEL_PROD_HOME)",
                  "BSS1_GetEnv(ZEL_REPLY_TIMEOUT)", "BSS1_GetEnv(VUIRA_HOSTNAME)",
                  "BSS1_GetEnv(ZEL_PROCINFO_INTERVAL)", "BSS1_GetEnv(ZEL_JVM_SIGNALS)"));
}

TEST_F(ZelAgentTest, InitialisationChangesToTheProductHome) {
  zelAgentStart();

  EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(home.path()));
}

TEST_F(ZelAgentTest, AMissingRequiredVariableFailsTheStartAndTheNextIsNotRead) {
  framework.env.erase("ZEL_INST");

  EXPECT_EQ(zelAgentStart(), -1);

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: required environment variable ZEL_INST is not set"));
  EXPECT_THAT(framework.calls(), Not(Contains("BSS1_GetEnv(ZEL_PROD_HOME)")));
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelAgentTest, AMissingHomeDirectoryFailsTheStart) {
  framework.env["ZEL_PROD_HOME"] = "/no/such/home";

  EXPECT_EQ(zelAgentStart(), -1);

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: chdir(/no/such/home) failed (rc 2). No such file or directory"));
}

TEST_F(ZelAgentTest, TheReplyTimeoutIsClampedAndConverted) {
  const struct {
    const char* value;
    unsigned long ms;
  } cases[] = {{"59", 61000}, {"60", 60000}, {nullptr, 300000}, {"soon", 61000}, {"600", 600000}};
  for (const auto& [value, ms] : cases) {
    framework.env.erase("ZEL_REPLY_TIMEOUT");
    if (value != nullptr) {
      framework.env["ZEL_REPLY_TIMEOUT"] = value;
    }
    zelAgentStart();
    EXPECT_EQ(ZelAgent::s_replyTimeout, ms) << (value == nullptr ? "unset" : value);
  }
}

TEST_F(ZelAgentTest, TheHostNameOfTheEnvironmentGoesToTheApplication) {
  framework.env["VUIRA_HOSTNAME"] = "otherhost";

  zelAgentStart();

  EXPECT_EQ(bridge.sentOf(0)[0].body(), R"({0: "ZJX", 2: false, 3: "inst", 5: "otherhost"})");
}

TEST_F(ZelAgentTest, TheFrameworksHostNameIsTheDefault) {
  zelAgentStart();

  EXPECT_EQ(bridge.sentOf(0)[0].body(), R"({0: "ZJX", 2: false, 3: "inst", 5: "fakehost"})");
}

TEST_F(ZelAgentTest, EveryFailingFrameworkCallFailsTheStartWithItsMessage) {
  const struct {
    const char* operation;
    const char* message;
    const char* notReached;
  } cases[] = {
      {"IRA_SetVersionUsingProduct", "ERROR: IRA_SetVersionUsingProduct(JX) failed (rc 8)",
       "IRA_SetHostname(replyhost)"},
      {"IRA_SetHostname", "ERROR: IRA_SetHostname(replyhost) failed (rc 8)",
       "IRA_SetAffinity(AFF_AGENT)"},
      {"IRA_SetAffinity", "ERROR: IRA_SetAffinity(AFF_AGENT) failed (rc 8)",
       "IRA_SetAffinity(AFF_FEAT_INTERNATIONALIZATION)"},
      {"IRA_SetCurrency", "ERROR: IRA_SetCurrency() failed (rc 8)",
       "IRA_RegisterCommandCallback(JX)"},
      {"IRA_RegisterCommandCallback", "ERROR: IRA_RegisterCommandCallback() failed (rc 8)",
       "IRA_RegisterAgentLoader()"},
  };
  for (const auto& [operation, message, notReached] : cases) {
    framework.rc.clear();
    framework.rc[operation] = 8;
    const std::size_t callsBefore = framework.calls().size();

    EXPECT_EQ(zelAgentStart(), -1) << operation;

    EXPECT_TRUE(framework.hasMessage(message)) << message;
    const auto calls = framework.calls();
    const std::vector<std::string> ofThisRun(
        calls.begin() + static_cast<std::ptrdiff_t>(callsBefore), calls.end());
    EXPECT_THAT(ofThisRun, Not(Contains(notReached)));
    EXPECT_THAT(ofThisRun, Not(Contains("kramain(1, vu_agent)")));
  }
}

TEST_F(ZelAgentTest, TheVersionBufferIsKnownEvenWhenItsLookupFails) {
  ZelAgent::s_iraVersion = nullptr;
  framework.rc["IRA_SetVersionUsingProduct"] = 8;

  zelAgentStart();

  EXPECT_EQ(ZelAgent::s_iraVersion, ZelAgent::s_iraVersionBuff);
}

TEST_F(ZelAgentTest, AnApplicationExceptionInTheInitReplyFailsTheStart) {
  bridge.exceptions[0] = {3, "bad configuration"};

  EXPECT_EQ(zelAgentStart(), -1);

  EXPECT_TRUE(framework.hasMessage(
      "ERROR: Application exception raised (severity 3) ...\nbad configuration"));
  EXPECT_THAT(framework.calls(), Not(Contains("IRA_SetHostname(replyhost)")));
}

TEST_F(ZelAgentTest, AnExceptionThatLeavesInitialisationIsReportedAndFailsTheStart) {
  bridge.replies[0] = fake::map({});

  EXPECT_EQ(zelAgentStart(), -1);

  bool reported = false;
  for (const std::string& message : framework.messages()) {
    reported |= message.rfind("ERROR: internal exception in zelcoll.cpp at line ", 0) == 0;
  }
  EXPECT_TRUE(reported);
  EXPECT_FALSE(framework.hasMessage("Agent stopped"));
}

TEST_F(ZelAgentTest, AnExceptionThatLeavesTheMainLoopIsReportedAndTheStartReturnsZero) {
  inMainLoop = [] { throw std::runtime_error("loop broke"); };

  EXPECT_EQ(zelAgentStart(), 0);

  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'loop broke'"));
  EXPECT_TRUE(framework.hasMessage("Agent stopped"));
  EXPECT_FALSE(ZelAgent::s_started.load());
}

TEST_F(ZelAgentTest, VersionAndTimeoutAreTracedInTheFlowClassOnly) {
  framework.setAllMasks(fake::allBut(kRas1Flow));
  zelAgentStart();
  EXPECT_FALSE(framework.hasMessage("Product version in registry: <01.00.00>"));
  EXPECT_FALSE(framework.hasMessage("Reply wait timeout set to 300000"));

  framework.setAllMasks(kRas1Flow);
  zelAgentStart();
  EXPECT_TRUE(framework.hasMessage("Product version in registry: <01.00.00>"));
  EXPECT_TRUE(framework.hasMessage("Reply wait timeout set to 300000"));
}

TEST_F(ZelAgentTest, AnyAffinityThatIsRefusedFailsTheStart) {
  const char* const affinities[] = {"AFF_AGENT", "AFF_FEAT_INTERNATIONALIZATION",
                                    "AFF_FEAT_DM_PARITY", "AFF_VERSION"};
  for (std::size_t refused = 1; refused <= std::size(affinities); ++refused) {
    const std::size_t before = framework.callsOf("IRA_SetAffinity").size();
    framework.rc = {{"IRA_SetAffinity", refused == 1 ? 8 : 0}};
    std::size_t turn = 1;
    framework.onCall["IRA_SetAffinity"] = [&] {  // sets what the next call returns
      framework.rc["IRA_SetAffinity"] = ++turn == refused ? 8 : 0;
    };

    EXPECT_EQ(zelAgentStart(), -1);

    EXPECT_EQ(framework.callsOf("IRA_SetAffinity").size() - before, refused);
    EXPECT_EQ(framework.countMessages("ERROR: IRA_SetAffinity(" +
                                      std::string(affinities[refused - 1]) + ") failed (rc 8)"),
              1u);
    EXPECT_THAT(framework.callsOf("IRA_SetCurrency"), IsEmpty());
  }
}

TEST_F(ZelAgentTest, AShutdownDuringInitialisationWaitsAtMostThreeHundredMillisecondsAndEnds) {
  framework.timeSeconds = 1000;  // long past: waits end at once
  framework.timeNanoseconds = 900'000'000;
  framework.onCall["IRA_SetCurrency"] = [] { ZelAgent::s_isShutdown.store(true); };

  EXPECT_EQ(zelAgentStart(), 0);

  const auto waits = pthreads.ownWaits();
  ASSERT_EQ(waits.size(), 1u);
  EXPECT_EQ(waits[0].condition, &ZelAgent::s_shutdownEvent);
  EXPECT_EQ(waits[0].deadline.tv_sec, 1001);
  EXPECT_EQ(waits[0].deadline.tv_nsec, 200'000'000);
  EXPECT_THAT(framework.calls(), Not(Contains("kramain(1, vu_agent)")));
  EXPECT_TRUE(framework.hasMessage("Agent stopped"));
}

TEST_F(ZelAgentTest, AShutdownDuringInitialisationSubscribesNothing) {
  framework.timeSeconds = 1000;
  framework.onCall["IRA_SetCurrency"] = [] { ZelAgent::s_isShutdown.store(true); };

  zelAgentStart();

  ASSERT_NE(ZelClient::s_inst.load(), nullptr);
  for (const int code : {10, 11, 13, 14, 15, 16}) {
    EXPECT_EQ(ZelClient::s_inst.load()->getSubscriber(code), nullptr) << code;
  }
}

TEST_F(ZelAgentTest, TheJvmsSignalsAreSavedBeforeTheShutdownFlagIsTested) {
  framework.timeSeconds = 1000;
  framework.env["ZEL_JVM_SIGNALS"] = "10";
  whenRead("ZEL_JVM_SIGNALS", [] { ZelAgent::s_isShutdown.store(true); });

  EXPECT_EQ(zelAgentStart(), 0);

  ASSERT_NE(s_sigactions, nullptr);
  EXPECT_EQ(s_sigactions->count(SIGUSR1), 1u);
  EXPECT_THAT(framework.calls(), Not(Contains("kramain(1, vu_agent)")));
}

TEST_F(ZelAgentTest, FourHandlersAreSubscribedBeforeTheMainLoop) {
  std::vector<int> subscribed;
  inMainLoop = [&] {
    for (const int code : {10, 11, 13, 14, 15, 16}) {
      if (ZelClient::getInstance()->getSubscriber(code) != nullptr) {
        subscribed.push_back(code);
      }
    }
  };

  zelAgentStart();

  EXPECT_THAT(subscribed, ElementsAre(10, 11, 13, 16));
}

TEST_F(ZelAgentTest, TheHandlersAreSubscribedInTheOrderOfTheirCodes) {
  class Recorder : public ZelClient {
   public:
    void subscribe(ZelNotificationSubscriber& subscriber) override {
      codes.push_back(subscriber.getType());
    }
    void putOutbound(const ZelMap& /*envelope*/) override {}

    std::vector<int> codes;
  };
  auto* client = new Recorder;  // the client's destruction deletes it
  ZelClient::s_inst.store(client);

  ZelAgent::getInstance()->subscribeNotificationHandlers();

  EXPECT_THAT(client->codes, ElementsAre(10, 11, 13, 16));
}

TEST_F(ZelAgentTest, TheProcessInformationLoggerStartsWithTheIntervalOfTheEnvironmentOrNull) {
  zelAgentStart();
  framework.env["ZEL_PROCINFO_INTERVAL"] = "90";
  zelAgentStart();

  const auto starts = pthreads.startsOf(zelProcInfoLogger);
  ASSERT_EQ(starts.size(), 2u);
  EXPECT_EQ(starts[0].argument, nullptr);
  EXPECT_STREQ(static_cast<const char*>(starts[1].argument), "90");
}

TEST_F(ZelAgentTest, TheProcessInformationLoggerDoesNotStartBeforeEverythingIsRegistered) {
  framework.rc["IRA_RegisterCommandCallback"] = 8;
  zelAgentStart();
  EXPECT_THAT(pthreads.startsOf(zelProcInfoLogger), IsEmpty());

  framework.rc.clear();
  framework.onCall["IRA_RegisterAgentLoader"] = [this] {
    EXPECT_THAT(pthreads.startsOf(zelProcInfoLogger), IsEmpty());
  };
  zelAgentStart();
  EXPECT_EQ(pthreads.startsOf(zelProcInfoLogger).size(), 1u);
}

TEST_F(ZelAgentTest, AnUnknownExceptionWhileInitialisingEndsTheProcess) {
  framework.onCall["IRA_SetCurrency"] = [] { throw 5; };
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        zelAgentStart();
      },
      testing::ExitedWithCode(255), "ZELAGENT start: " + std::string(kUnknownExceptionText));
}

TEST_F(ZelAgentTest, AnUnknownExceptionOutOfTheMainLoopEndsTheProcess) {
  inMainLoop = [] { throw 5; };
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        zelAgentStart();
      },
      testing::ExitedWithCode(255), "ZELAGENT start: " + std::string(kUnknownExceptionText));
}

}  // namespace
