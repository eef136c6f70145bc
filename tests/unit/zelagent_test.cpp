#include "zelagent.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "bridge/zelbuild.h"
#include "support/library_fixture.h"
#include "zelapi.h"
#include "zelfinfo.h"
#include "zelguard.h"
#include "zelhttp.h"
#include "zelsittrap.h"
#include "zeltablemanager.h"

RAS1_UNIT("ZELAGENTTEST");

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

fake::Value table(const char* name, bool sitTrap = false) {
  return fake::map({{7, fake::text(name)}, {9, fake::list({})}, {15, fake::boolean(sitTrap)}});
}

class ZelAgentTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    home = std::filesystem::temp_directory_path() / ("zelagent_test." + std::to_string(getpid()));
    std::filesystem::create_directories(home);
    before = std::filesystem::current_path();
    ZelAgent::s_started.store(false);
    ZelAgent::s_managers.clear();
    framework.env = {{"ZEL_PROD", "ZJX"}, {"ZEL_INST", "inst"}, {"ZEL_PROD_HOME", home.string()}};
    setTables({});
    framework.onCall["kramain"] = [this] {
      startedInMainLoop = ZelAgent::s_started.load();
      if (inMainLoop) {
        inMainLoop();
      }
    };
  }

  void TearDown() override {
    LibraryTest::TearDown();
    std::filesystem::current_path(before);
    std::filesystem::remove_all(home);
    for (const auto& [name, manager] : ZelAgent::s_managers) {
      delete manager;
    }
    ZelAgent::s_managers.clear();
  }

  void setTables(const std::vector<fake::Value>& tables) {
    bridge.replies[0] = fake::map({{5, fake::text("replyhost")},
                                   {6, fake::text("AFF_AGENT")},
                                   {4, fake::text("AFF_VERSION")},
                                   {1, fake::text("free text")},
                                   {8, fake::list(tables)}});
  }

  std::vector<std::string> frameworkCalls() const {
    std::vector<std::string> found;
    for (const std::string& call : framework.calls()) {
      if (call.rfind("BSS1_", 0) != 0) {
        found.push_back(call);
      }
    }
    return found;
  }

  std::filesystem::path home;
  std::filesystem::path before;
  bool startedInMainLoop = false;
  std::function<void()> inMainLoop;
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

  EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(home));
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

TEST_F(ZelAgentTest, VersionAndTimeoutAreTracedInTheFlowClassOnly) {
  zelAgentStart();
  EXPECT_FALSE(framework.hasMessage("Product version in registry: <01.00.00>"));
  EXPECT_FALSE(framework.hasMessage("Reply wait timeout set to 300000"));

  framework.setMask("ZELAGENT", kRas1Flow);
  zelAgentStart();
  EXPECT_TRUE(framework.hasMessage("Product version in registry: <01.00.00>"));
  EXPECT_TRUE(framework.hasMessage("Reply wait timeout set to 300000"));
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

TEST_F(ZelAgentTest, AShutdownDuringInitialisationSkipsTheMainLoop) {
  framework.onCall["IRA_SetCurrency"] = [] { ZelAgent::s_isShutdown.store(true); };

  EXPECT_EQ(zelAgentStart(), 0);

  EXPECT_THAT(framework.calls(), Not(Contains("kramain(1, vu_agent)")));
  EXPECT_TRUE(framework.hasMessage("Agent stopped"));
}

TEST_F(ZelAgentTest, TheFourHandlersAreSubscribedBeforeTheMainLoop) {
  std::vector<bool> subscribed;
  inMainLoop = [&] {
    for (const int code : {10, 11, 13, 16, 14, 15}) {
      subscribed.push_back(ZelClient::getInstance()->getSubscriber(code) != nullptr);
    }
  };

  zelAgentStart();

  EXPECT_THAT(subscribed, ElementsAre(true, true, true, true, false, false));
}

TEST_F(ZelAgentTest, LoadRegistersTheTablesByNameAndSendsTheStartRequestOneWay) {
  setTables({table("TWO"), table("ONE")});
  int result = -1;
  inMainLoop = [&] { result = LoadAgents(); };

  zelAgentStart();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(framework.callsOf("RegisterWithManager"),
              ElementsAre("RegisterWithManager(ONE)", "RegisterWithManager(TWO)"));
  ASSERT_TRUE(bridge.waitForSent(1));
  EXPECT_EQ(fake::describe(bridge.sentOf(1)[0].envelope.get()), "{0: 2, 1: 1}");
  // The library never joins this thread.
  EXPECT_EQ(pthread_join(s_httpServerThread, nullptr), 0);
  EXPECT_TRUE(framework.hasMessage("Web Service stopped"));
}

// A start request that can't be queued, because there is no client and none can be made, is the one
// way in which loading fails.
TEST_F(ZelAgentTest, AnExceptionWhileLoadingShutsDownAndReturnsOne) {
  bridge.failCreation = true;

  EXPECT_EQ(LoadAgents(), 1);

  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'no client'"));
  EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
  EXPECT_FALSE(framework.hasMessage("Web Service started"));
}

TEST_F(ZelAgentTest, ASecondShutdownBuildsNoClientAndReportsWhy) {
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

TEST_F(ZelAgentTest, StopTellsTheApplicationBeforeItShutsDown) {
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

TEST_F(ZelAgentTest, StopBeforeStartSendsNoRequestButShutsDown) {
  zelAgentStop();

  EXPECT_THAT(bridge.sent(), IsEmpty());
  EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
  EXPECT_THAT(framework.calls(), ElementsAre("IRA_Shutdown(1)"));
}

TEST_F(ZelAgentTest, EveryRunOfShutdownRepeatsAllSteps) {
  ZelAgent::shutdown();
  ZelAgent::shutdown();

  EXPECT_EQ(framework.countMessages("Agent shuts down ..."), 2u);
  EXPECT_EQ(framework.callsOf("IRA_Shutdown").size(), 2u);
}

TEST_F(ZelAgentTest, WaitingWithZeroOnlyReadsTheFlag) {
  EXPECT_EQ(zelWaitForAgentShutdown(0), 0);
  ZelAgent::s_isShutdown.store(true);
  EXPECT_EQ(zelWaitForAgentShutdown(0), 1);
}

TEST_F(ZelAgentTest, WaitingEndsWithoutShutdownWhenTheTimeRunsOut) {
  EXPECT_EQ(zelWaitForAgentShutdown(3), 0);
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentTest, AWaitNeverClearsTheFlag) {
  ZelAgent::s_isShutdown.store(true);

  EXPECT_TRUE(ZelAgent::isShutdown(3));
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentTest, WaitingEndsWhenShutdownBegins) {
  std::atomic<int> result{-1};
  std::thread waiter([&] { result.store(zelWaitForAgentShutdown(20000)); });

  while (result.load() == -1) {
    ZelAgent::shutdown();
    std::this_thread::yield();
  }

  waiter.join();
  EXPECT_EQ(result.load(), 1);
}

TEST_F(ZelAgentTest, ATrapTableGetsATrapManagerAndAnyOtherAPlainOne) {
  framework.env.clear();
  ZelAgent::s_prodCode = "ZJX";

  const std::unique_ptr<ZelTableManager> plain(
      ZelAgent::getInstance()->createTableManager("T", new std::vector<ZelColumnInfo*>, false));
  const std::unique_ptr<ZelTableManager> trap(
      ZelAgent::getInstance()->createTableManager("T", new std::vector<ZelColumnInfo*>, true));

  EXPECT_EQ(dynamic_cast<ZelSitTrapManager*>(plain.get()), nullptr);
  EXPECT_NE(dynamic_cast<ZelSitTrapManager*>(trap.get()), nullptr);
  EXPECT_STREQ(plain->applicationId, "ZJX");
}

TEST_F(ZelAgentTest, AnUnknownExceptionEndsTheProcessWithMinusOne) {
  const auto fail = [] {
    RAS1_FUNCTION();
    zelGuarded(ras1Entry, [] { throw 5; });
  };

  EXPECT_EXIT(fail(), testing::ExitedWithCode(255), "");
}

TEST_F(ZelAgentTest, ReportedExceptionsAreTracedByKind) {
  RAS1_FUNCTION();

  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw ZelAppException{3, "app"}; }));
  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw ZelException("f.cpp", 7, 1); }));
  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw std::runtime_error("std"); }));
  EXPECT_TRUE(zelGuarded(ras1Entry, [] {}));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: request processing failed ...\napp",
                                                "ERROR: internal exception in f.cpp at line 7",
                                                "ERROR: STD C++ library exception 'std'"));
}

}  // namespace
