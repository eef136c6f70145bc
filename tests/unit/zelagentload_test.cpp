// What the framework has the agent do when it is ready for its tables.

#include <gmock/gmock.h>

#include <thread>

#include "support/agent_fixture.h"
#include "support/trace_view.h"
#include "zelapi.h"
#include "zelfinfo.h"
#include "zelsittrap.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

void jvmHandler(int /*sig*/) {}

class ZelAgentLoadTest : public AgentTest {
 protected:
  /// Runs the agent, which loads in its main loop; returns the result of the load.
  int load() {
    int result = -1;
    inMainLoop = [&] {
      result = LoadAgents();
      if (result == 0) {
        pthread_join(s_httpServerThread, nullptr);  // the library never does
      }
    };
    zelAgentStart();
    return result;
  }
};

TEST_F(ZelAgentLoadTest, LoadRegistersTheTablesByNameAndSendsTheStartRequestOneWay) {
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
TEST_F(ZelAgentLoadTest, AnExceptionWhileLoadingShutsDownAndReturnsOne) {
  bridge.failCreation = true;

  EXPECT_EQ(LoadAgents(), 1);

  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'no client'"));
  EXPECT_TRUE(framework.hasMessage("Agent shuts down ..."));
  EXPECT_FALSE(framework.hasMessage("Web Service started"));
}

TEST_F(ZelAgentLoadTest, ATrapTableGetsATrapManagerAndAnyOtherAPlainOne) {
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

TEST_F(ZelAgentLoadTest, HandlersAreRestoredAndInstalledBeforeTheFirstTableIsRegistered) {
  setTables({table("ONE")});
  signal(SIGUSR1, jvmHandler);
  signal(SIGTERM, jvmHandler);
  framework.env["ZEL_JVM_SIGNALS"] = "10,15";
  framework.onCall["RegisterWithManager"] = [] {
    EXPECT_EQ(s_sigactions, nullptr);
    EXPECT_EQ(handlerOf(SIGUSR1), jvmHandler);
    // The saved handler of SIGTERM was put back first and then replaced.
    EXPECT_EQ(handlerOf(SIGTERM), zelSignalHandler);
    EXPECT_EQ(handlerOf(SIGHUP), zelSignalHandler);
  };
  framework.onCall["IRA_RegisterAgentLoader"] = [] { signal(SIGUSR1, jvmHandler); };

  EXPECT_EQ(load(), 0);

  EXPECT_THAT(framework.callsOf("RegisterWithManager"), ElementsAre("RegisterWithManager(ONE)"));
}

TEST_F(ZelAgentLoadTest, TheStartRequestIsMadeAfterTheTablesAndBeforeTheWebServiceStarts) {
  setTables({table("TWO"), table("ONE")});
  framework.setMask("ZELREQSTART", kRas1Flow);
  framework.setMask("ZELIRA", kRas1Flow);
  framework.setMask("ZELHTTP", kRas1Flow);

  EXPECT_EQ(load(), 0);

  std::vector<std::string> steps;
  for (const auto& record : framework.trace()) {
    if (record.text == "entry" &&
        (record.function == "registration" || record.unit == "ZELREQSTART" ||
         record.function == "zelStartHttpServer")) {
      steps.push_back(record.function);
    }
  }
  EXPECT_THAT(steps,
              ElementsAre("registration", "registration", "createRegMsg", "zelStartHttpServer"));
}

TEST_F(ZelAgentLoadTest, TheStartRequestIsLeftToTheMessageHandlerThread) {
  std::thread::id sender;
  bridge.onSent[1] = [&](const fake::Sent&) { sender = std::this_thread::get_id(); };

  EXPECT_EQ(load(), 0);

  ASSERT_TRUE(bridge.waitForSent(1));
  EXPECT_TRUE(fake::endClients());
  EXPECT_NE(sender, std::this_thread::get_id());
}

TEST_F(ZelAgentLoadTest, ATableThatIsRefusedDoesNotFailTheLoad) {
  setTables({table("ONE"), table("TWO")});
  framework.rc["RegisterWithManager"] = 9;

  EXPECT_EQ(load(), 0);

  EXPECT_THAT(framework.callsOf("RegisterWithManager"),
              ElementsAre("RegisterWithManager(ONE)", "RegisterWithManager(TWO)"));
  EXPECT_TRUE(bridge.waitForSent(1));
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelAgentLoadTest, EveryKnownExceptionIsReportedAndShutsDown) {
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] {
         throw ZelAppException{3, "app"};
       },
       "ERROR: request processing failed ...\napp"},
      {[] { throw ZelException("f.cpp", 7, 1); }, "ERROR: internal exception in f.cpp at line 7"},
      {[] { throw std::runtime_error("std"); }, "ERROR: STD C++ library exception 'std'"},
  };
  for (const auto& [failure, message] : cases) {
    framework.reset();
    bridge.onCreation = failure;

    EXPECT_EQ(LoadAgents(), 1);

    EXPECT_THAT(framework.messages(), ElementsAre(message, "Agent shuts down ..."));
  }
}

TEST_F(ZelAgentLoadTest, AnUnknownExceptionEndsTheProcess) {
  bridge.onCreation = [] { throw 5; };

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        LoadAgents();
      },
      testing::ExitedWithCode(255), "ZELAGENT loadAgents: " + std::string(kUnknownExceptionText));
}

TEST_F(ZelAgentLoadTest, ItsResultStandsInTheExitEvent) {
  framework.setMask("ZELAGENT", kRas1Flow);

  load();
  EXPECT_THAT(fake::flowOf("ZELAGENT"), Contains("loadAgents exit 0"));

  ZelClient::destroy();
  bridge.failCreation = true;
  LoadAgents();
  EXPECT_THAT(fake::flowOf("ZELAGENT"), Contains("loadAgents exit 1"));
}

}  // namespace
