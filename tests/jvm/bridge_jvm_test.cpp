// The library in a real JVM, with the test application and the fake framework.

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include "bridge/jni/zeljvm.h"
#include "bridge/zelbuild.h"
#include "bridge/zelclient.h"
#include "bridge/zelkeys.h"
#include "jvm/agent_environment.h"
#include "jvm/command.h"
#include "support/descriptor_cap.h"
#include "zelagent.h"
#include "zelsignal.h"
#include "zeltablemanager.h"

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::unique_ptr<ZelData> text(const std::string& initial) { return value<std::string>(initial); }

/// One of every kind, nested.
std::unique_ptr<ZelData> everyKind() {
  auto map = std::make_unique<ZelMap>();
  zelPut<int>(*map, 2, -5);
  zelPut<long long>(*map, 1, 1LL << 40);
  zelPut<bool>(*map, 3, true);
  zelPut<bool>(*map, 4, false);
  zelPut<std::string>(*map, 5, "t\xC3\xA4xt");
  zelPut(*map, 6, std::make_unique<ZelByteArray>(std::string("a\0\xFF", 3)));
  zelPut(*map, 7, std::make_unique<ZelByteArray>(""));
  auto list = std::make_unique<ZelList>();
  zelAppend(*list, value<int>(1));
  zelAppend(*list, std::make_unique<ZelMap>());
  zelPut(*map, 8, std::move(list));
  return map;
}

class BridgeJvmTest : public testing::Test {
 protected:
  static std::unique_ptr<ZelData> run(Command& command) {
    ZelClient::run(command, false);
    EXPECT_FALSE(command.isAppExc());
    return std::move(command.result);
  }

  static std::unique_ptr<ZelData> run(const std::string& name,
                                      std::unique_ptr<ZelData> argument = nullptr) {
    Command command(name, std::move(argument));
    return run(command);
  }

  std::vector<std::string> messagesOf(const std::function<void()>& action) {
    const std::size_t before = framework.messages().size();
    action();
    std::vector<std::string> messages = framework.messages();
    messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
    return messages;
  }

  /// Waits, at most 20 s, for what the message handler does, which may have missed a wake-up.
  static bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
      ZelClient::s_tqEvent.signal(true);
      std::this_thread::yield();
    }
    return condition();
  }

  bool isTraced(const std::string& message) {
    return eventually([&] { return framework.hasMessage(message); });
  }

  static std::string row(int number, const std::string& eightCharacters) {
    std::string bytes(sizeof(number), '\0');
    std::memcpy(bytes.data(), &number, sizeof(number));
    return bytes + eightCharacters;
  }

  fake::Framework& framework = fake::Framework::get();
};

/// Ends the process; a child of a death test has an agent of its own.
class BridgeJvmDeathTest : public BridgeJvmTest {
 protected:
  void SetUp() override { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  /// Shows on stderr what was traced, when the process ends.
  static void showTraceAtExit() {
    on_exit(
        [](int /*status*/, void*) {
          for (const std::string& message : fake::Framework::get().messages()) {
            std::fprintf(stderr, "%s\n", message.c_str());
          }
          for (const std::string& call : fake::Framework::get().callsOf("IRA_Shutdown")) {
            std::fprintf(stderr, "%s\n", call.c_str());
          }
        },
        nullptr);
  }
};

TEST_F(BridgeJvmTest, TheInitReplyNamesTheAgentAndMakesItsTables) {
  std::vector<std::string> tables;
  for (const auto& [name, manager] : ZelAgent::s_managers) {
    tables.push_back(name);
  }

  EXPECT_THAT(tables, ElementsAre("EVENTS", "SAMPLES"));
  EXPECT_EQ(ZelAgent::s_managers["SAMPLES"]->rowSize, 12U);
  EXPECT_THAT(framework.callsOf("IRA_SetHostname"), ElementsAre("IRA_SetHostname(javahost)"));
  EXPECT_THAT(
      framework.callsOf("IRA_SetAffinity"),
      ElementsAre("IRA_SetAffinity(affinity)", "IRA_SetAffinity(AFF_FEAT_INTERNATIONALIZATION)",
                  "IRA_SetAffinity(AFF_FEAT_DM_PARITY)", "IRA_SetAffinity(versionAffinity)"));
  EXPECT_THAT(framework.callsOf("RegisterWithManager"),
              ElementsAre("RegisterWithManager(EVENTS)", "RegisterWithManager(SAMPLES)"));
}

TEST_F(BridgeJvmTest, TheStartRequestReachesTheApplication) {
  std::vector<int> codes;
  const bool isStarted = eventually([&] {
    const auto received = run("received");
    codes.clear();
    for (const ZelData* code : received->toList().items) {
      codes.push_back(code->toInt());
    }
    return std::find(codes.begin(), codes.end(), ZelRequestCode::kStart) != codes.end();
  });

  EXPECT_TRUE(isStarted);
  EXPECT_EQ(codes.front(), ZelRequestCode::kInit);
}

TEST_F(BridgeJvmTest, ASampleBringsTheApplicationsRows) {
  RequestDetail detail;
  ContextInfo context;
  std::unique_ptr<vuira> request(ZelAgent::s_managers["SAMPLES"]->CreateCtira(&detail, &context));

  request->TakeSample();

  EXPECT_THAT(fake::recordOf(*request).rows, ElementsAre(row(1, "SAMPLES "), row(2, "SAMPLES ")));
}

TEST_F(BridgeJvmTest, EveryKindArrivesInJavaAsItsClass) {
  EXPECT_EQ(run("describe", everyKind())->toString(),
            "{Integer 1=Long 1099511627776, Integer 2=Integer -5, Integer 3=Boolean true, "
            "Integer 4=Boolean false, Integer 5=String t\xC3\xA4xt, Integer 6=byte[] 6100ff, "
            "Integer 7=byte[] , Integer 8=[Integer 1, {}]}");
}

TEST_F(BridgeJvmTest, EveryKindComesBackAsItself) {
  const auto echo = run("echo", everyKind());

  const ZelMap& map = echo->toMap();
  EXPECT_EQ(map.entries.size(), 8U);
  EXPECT_EQ(map.get(1).toLong(), 1LL << 40);
  EXPECT_EQ(map.get(2).toInt(), -5);
  EXPECT_TRUE(map.get(3).toBool());
  EXPECT_FALSE(map.get(4).toBool());
  EXPECT_EQ(map.get(5).toString(), "t\xC3\xA4xt");
  EXPECT_EQ(map.get(6).toByteArray(), std::string("a\0\xFF", 3));
  EXPECT_EQ(map.get(7).toByteArray(), "");
  EXPECT_EQ(map.get(8).toList().items[0]->toInt(), 1);
  EXPECT_TRUE(map.get(8).toList().items[1]->toMap().entries.empty());
}

TEST_F(BridgeJvmTest, ALongListComesBackWhole) {
  auto list = std::make_unique<ZelList>();
  for (int i = 0; i < 20000; ++i) {
    zelAppend(*list, value<int>(i));
  }

  const auto echo = run("echo", std::move(list));

  ASSERT_EQ(echo->toList().items.size(), 20000U);
  EXPECT_EQ(echo->toList().items.back()->toInt(), 19999);
}

TEST_F(BridgeJvmTest, AMalformedMessageIsTracedAndTheApplicationGoesOn) {
  const std::pair<std::string, std::string> cases[] = {
      {"null", "ERROR: got null object"},
      {"type", "ERROR: unknown object type"},
      {"element", "ERROR: got null object"},
  };
  const auto internal = StartsWith("ERROR: internal exception in zeljconvert.cpp at line ");
  for (const auto& [kind, message] : cases) {
    EXPECT_THAT(messagesOf([&, k = kind] { run("malformed", text(k)); }),
                ElementsAre(message, internal));
  }
  EXPECT_THAT(messagesOf([] { run("malformed", text("key")); }),
              ElementsAre(StartsWith("ERROR: STD C++ library exception '")));
}

TEST_F(BridgeJvmTest, AnOrdinaryExceptionOfTheApplicationIsStored) {
  Command command("exception", value<int>(ZelAppException::kOrdinary));

  ZelClient::run(command, false);

  ASSERT_TRUE(command.isAppExc());
  EXPECT_EQ(command.appExcSeverity(), ZelAppException::kOrdinary);
  EXPECT_EQ(command.appExcMessage(), "refused");
}

TEST_F(BridgeJvmTest, ANotificationOfAnyJavaThreadReachesItsSubscriber) {
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, 0, "no such table");
  zelPut(*body, 1, std::unique_ptr<ZelData>(std::make_unique<ZelList>()));
  Command command("notify", value<int>(ZelNotificationCode::kEvents), std::move(body));

  run(command);

  EXPECT_TRUE(isTraced("ERROR: cannot find manager for table no such table"));
}

TEST_F(BridgeJvmTest, ANotificationThatNobodyWantsIsTraced) {
  Command command("notify", value<int>(99), std::make_unique<ZelMap>());

  run(command);

  EXPECT_TRUE(isTraced("WARN: cannot find a subscriber for notification 99"));
}

TEST_F(BridgeJvmTest, ASubnodeOfTheApplicationIsRegistered) {
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, 0, "sub:host:ST");
  zelPut<std::string>(*body, 1, "subAffinity");
  zelPut<std::string>(*body, 2, "");
  zelPut<std::string>(*body, 3, "");
  Command command("notify", value<int>(ZelNotificationCode::kSubnodeRegistered), std::move(body));

  run(command);

  EXPECT_TRUE(eventually([&] { return !framework.callsOf("IRA_Subnode_SendRequest").empty(); }));
  EXPECT_THAT(framework.callsOf("IRA_Subnode_Register_nAff"),
              ElementsAre(StartsWith("IRA_Subnode_Register_nAff(sub:host:ST, ST, ")));
}

TEST_F(BridgeJvmTest, TheApplicationsTraceIsWrittenUnderTheClassesOfTheClient) {
  // The agent started with the error and the detail class.
  EXPECT_THAT(messagesOf([] { run("trace", value<int>(0x81)); }), ElementsAre("100 % of it"));
  const fake::TraceRecord record = framework.trace().back();
  EXPECT_EQ(record.component, "app");
  EXPECT_EQ(record.file, "Test.java");
  EXPECT_EQ(record.function, "perform");

  EXPECT_THAT(messagesOf([] { run("trace", value<int>(0x40)); }), testing::IsEmpty());
  EXPECT_THAT(messagesOf([] { run("trace", value<int>(0)); }), ElementsAre("100 % of it"));
}

TEST_F(BridgeJvmTest, TheApplicationStartsADaemonWithAnEnvironmentOfItsOwn) {
  setenv("ZEL_GONE", "old", 1);
  const std::string out = std::filesystem::absolute("daemon.out");
  auto arguments = std::make_unique<ZelMap>();
  zelPut<std::string>(*arguments, 0, DAEMON_PROBE);
  zelPut<std::string>(*arguments, 1, out);

  fake::capDescriptors();
  run("daemon", std::move(arguments));

  std::string written;
  EXPECT_TRUE(eventually([&] {
    std::ifstream file(out);
    written.assign(std::istreambuf_iterator<char>(file), {});
    return written.find("done\n") != std::string::npos;
  }));
  EXPECT_THAT(written, HasSubstr("environment ZEL_JVM_TEST=from Java\n"));
  EXPECT_THAT(written, testing::Not(HasSubstr("ZEL_GONE")));
  EXPECT_THAT(written, HasSubstr("own session yes\n"));
  EXPECT_THAT(written, HasSubstr("descriptor 0\ndescriptor 1\ndescriptor 2\nstream 0 "));
  EXPECT_THAT(written, HasSubstr("SigBlk 0000000000000000\n"));
  EXPECT_TRUE(framework.hasMessage("Unset env: ZEL_GONE"));
  EXPECT_TRUE(run("running", value<long long>(getpid()))->toBool());
}

TEST_F(BridgeJvmDeathTest, AJavaErrorEndsTheProcess) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        run("error");
      },
      ExitedWithCode(255),
      "java.lang.StackOverflowError: out of the server\n(.*\n)*Agent shuts down ...\n(.*\n)*"
      "FATAL: Agent terminated with the critical Java exception.\n(.*\n)*IRA_Shutdown\\(1\\)");
}

TEST_F(BridgeJvmDeathTest, AnExceptionOutOfTheServerEndsTheProcess) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        run("throw");
      },
      ExitedWithCode(255),
      "java.lang.IllegalStateException: out of the server\n(.*\n)*Agent shuts down ...\n(.*\n)*"
      "FATAL: unexpected Java exception. Agent terminated.\n");
}

TEST_F(BridgeJvmDeathTest, TheApplicationsExitStatusIsPassedOn) {
  for (const int status : {0, 7}) {
    EXPECT_EXIT(
        {
          showTraceAtExit();
          run("exit", value<int>(status));
        },
        ExitedWithCode(status),
        "FATAL: JVM exited with code " + std::to_string(status) + ". Agent terminated.\n");
  }
}

TEST_F(BridgeJvmDeathTest, AnAbortOfTheJvmEndsTheProcess) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        ZelJvm::attach()->FatalError("scripted");
      },
      ExitedWithCode(255), "FATAL: JVM aborted. Agent terminated.\n");
}

TEST_F(BridgeJvmDeathTest, ACriticalExceptionShutsTheAgentDownWhileTheRequestRuns) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        Command command("exception", value<int>(ZelAppException::kCritical));
        ZelClient::run(command, false);
        const bool isDestroyed = command.isAppExc() && ZelClient::s_inst.load() == nullptr;
        exit(isDestroyed ? 3 : 4);
      },
      ExitedWithCode(3),
      "ERROR: Application exception raised \\(severity 1\\) ...\nrefused\n"
      "(.*\n)*Agent shuts down ...\n(.*\n)*"
      "FATAL: Agent terminated with the critical Java exception.\n(.*\n)*IRA_Shutdown\\(1\\)");
}

TEST_F(BridgeJvmDeathTest, ARequestThatRunsWhenTermComesGetsItsReply) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        ZelClient::s_destroyBoundMs.store(600'000);  // the reply ends the wait, no clock
        const std::string gate = std::filesystem::absolute("gate").string();
        Command command("await", text(gate));
        std::thread user([&] { ZelClient::run(command, false); });
        eventually([&] { return std::filesystem::exists(gate + ".asked"); });
        std::thread stop([] { zelSignalHandler(SIGTERM); });
        eventually([] { return ZelClient::s_inst.load() == nullptr; });
        std::ofstream{gate};
        user.join();
        stop.join();
        exit(command.result != nullptr && command.result->toString() == "awaited" ? 3 : 4);
      },
      ExitedWithCode(3), "Shutdown initiated with SIGTERM\n");
}

TEST_F(BridgeJvmDeathTest, TheApplicationMayAskForTheShutDown) {
  EXPECT_EXIT(
      {
        showTraceAtExit();
        Command command("notify", value<int>(ZelNotificationCode::kShutdown),
                        std::make_unique<ZelMap>());
        run(command);
        const bool isStopped = isTraced("Agent stopped") && isTraced("Agent shuts down ...");
        exit(isStopped ? 3 : 4);
      },
      ExitedWithCode(3), "Shutdown per Java app request\n");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new AgentEnvironment);
  return RUN_ALL_TESTS();
}
