#include "bridge/jni/zeljclnt.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "bridge/jni/zeljnatives.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelbuild.h"
#include "bridge/zelexc.h"
#include "support/bridge_messages.h"
#include "zelagent.h"

using fakejvm::Raise;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr char kTrace[] =
    "(ILjava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V";
constexpr char kDaemon[] =
    "(Ljava/lang/String;Ljava/util/HashMap;Ljava/lang/String;Ljava/lang/String;"
    "Ljava/lang/String;)V";

class ZelJniClientTest : public JvmTest {
 protected:
  std::vector<std::string> constructionCalls() {
    std::vector<std::string> calls = callsOf([this] { makeClient(); });
    // What ZelJvm::start() does ends with the class of errors.
    const auto end = std::find(calls.begin(), calls.end(), "DeleteLocalRef(class java/lang/Error)");
    calls.erase(calls.begin(), end == calls.end() ? end : end + 1);
    return calls;
  }

  static fakejvm::ObjectPtr exceptionBody(int severity) {
    return fakejvm::map({{fakejvm::integer(0), fakejvm::integer(severity)},
                         {fakejvm::integer(1), fakejvm::string("refused")}});
  }
};

using ZelJniClientDeathTest = ZelJniClientTest;

TEST_F(ZelJniClientTest, ConstructionRegistersTheNativesAndObtainsTheServerInOrder) {
  const std::string server = inPackage("ipc/msg/jni/JniServer");
  const std::string trace = inPackage("logging/handlers/RAS1Wrapper");
  const std::string daemon = inPackage("osutils/DaemonWBProcess");
  const std::string app = inPackage("pova/WbApp");

  EXPECT_THAT(
      constructionCalls(),
      ElementsAre("AttachCurrentThreadAsDaemon(null)",  //
                  "FindClass(" + trace + ")",
                  "RegisterNatives(" + trace + ", rasTrace" + kTrace + ")",
                  "DeleteLocalRef(class " + trace + ")",  //
                  "FindClass(" + daemon + ")",
                  "RegisterNatives(" + daemon + ", runDaemon" + kDaemon + ", isRunning(J)Z)",
                  "DeleteLocalRef(class " + daemon + ")",  //
                  "FindClass(" + app + ")",
                  "GetStaticMethodID(" + app + ".init()L" + inPackage("ipc/msg/Server;") + ")",
                  "CallStaticObjectMethod(" + app + ".init)",
                  "DeleteLocalRef(class " + app + ")",  //
                  "IsInstanceOf(" + server + ", " + server + ")", "NewGlobalRef(" + server + ")",
                  "DeleteLocalRef(" + server + ")",
                  "RegisterNatives(" + server + ", doPutOutbound(Ljava/lang/Object;)V)"));
  EXPECT_EQ(jvm.localReferences(), 0U);
  EXPECT_EQ(jvm.native("rasTrace")->function, reinterpret_cast<void*>(&zelRasTrace));
  EXPECT_EQ(jvm.native("runDaemon")->function, reinterpret_cast<void*>(&zelRunDaemon));
  EXPECT_EQ(jvm.native("isRunning")->function, reinterpret_cast<void*>(&zelIsRunningPid));
  EXPECT_EQ(jvm.native("doPutOutbound")->function,
            reinterpret_cast<void*>(&zelPutOutboundCallback));
}

TEST_F(ZelJniClientTest, ASecondClientUsesTheServerOfTheFirst) {
  ZelJniClient first;
  ZelJServer* server = ZelJniClient::s_server.load();

  std::unique_ptr<ZelJniClient> second;
  EXPECT_THAT(callsOf([&] { second = std::make_unique<ZelJniClient>(); }), IsEmpty());

  EXPECT_EQ(ZelJniClient::s_server.load(), server);
}

TEST_F(ZelJniClientTest, TheTraceMaskIsTakenBeforeAnythingElseAndNeverAgain) {
  framework.setMask("ZELJCLNT", kRas1Error);
  jvm.onCreate = [] { EXPECT_EQ(zelJavaTraceMask.load(), std::uint32_t{kRas1Error}); };

  ZelJniClient client;
  framework.setMask("ZELJCLNT", kRas1Detail);

  EXPECT_EQ(zelJavaTraceMask.load(), std::uint32_t{kRas1Error});
}

TEST_F(ZelJniClientTest, DestructionDeletesTheServerAndThenForgetsTheJvm) {
  auto client = std::make_unique<ZelJniClient>();
  const std::size_t classes = jvm.globalReferences() - 1;

  EXPECT_THAT(callsOf([&] { client.reset(); }),
              ElementsAre("AttachCurrentThreadAsDaemon(null)", StartsWith("DeleteGlobalRef(")));

  EXPECT_EQ(jvm.globalReferences(), classes);
  EXPECT_EQ(ZelJniClient::s_server.load(), nullptr);
  EXPECT_EQ(ZelJvm::s_jvm.load(), nullptr);
}

TEST_F(ZelJniClientTest, AServerOfAnotherClassIsRefused) {
  jvm.server = fakejvm::integer(5);
  EXPECT_TRUE(throwsZelException("zeljni.cpp", [] { ZelJniClient(); }));

  jvm.server = nullptr;
  EXPECT_TRUE(throwsZelException("zeljclnt.cpp", [] { ZelJniClient(); }));
  EXPECT_EQ(ZelJniClient::s_server.load(), nullptr);
}

TEST_F(ZelJniClientTest, AnExceptionOutOfTheApplicationsStartIsThrown) {
  jvm.raising[inPackage("pova/WbApp.init")] = Raise{};

  EXPECT_TRUE(throwsZelException("zeljni.cpp", [] { ZelJniClient(); }));
  EXPECT_TRUE(framework.hasMessage("java.lang.RuntimeException: scripted"));
}

TEST_F(ZelJniClientTest, AfterItsEndNoWorkingClientIsBuilt) {
  jvm.isCreatedOnce = true;
  makeClient();
  ZelClient::destroy();
  EchoRequest request(nullptr);

  EXPECT_TRUE(throwsZelException("zeljvm.cpp", [&] { ZelClient::run(request, true); }));

  EXPECT_TRUE(framework.hasMessage("ERROR[-5]: JNI_CreateJavaVM() failed: VM already created"));
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
}

TEST_F(ZelJniClientTest, ARequestIsAnsweredInsideTheCall) {
  makeClient();
  answerRequests(ZelMsg::Reply, fakejvm::map({{fakejvm::integer(0), fakejvm::integer(1)}}));
  EchoRequest request(std::make_unique<ZelMap>());

  ZelClient::run(request, false);

  EXPECT_FALSE(request.isAppExc());
  EXPECT_EQ(request.replySize, 1U);
}

TEST_F(ZelJniClientTest, EveryKindGoesOutInKeyOrder) {
  makeClient();
  auto body = std::make_unique<ZelMap>();
  zelPut<int>(*body, 2, -5);
  zelPut<long long>(*body, 1, 1LL << 40);
  zelPut<bool>(*body, 3, true);
  zelPut<bool>(*body, 4, false);
  zelPut<std::string>(*body, 5, "text");
  zelPut(*body, 6, std::make_unique<ZelByteArray>(std::string("a\0b", 3)));
  zelPut(*body, 7, std::make_unique<ZelByteArray>(""));
  auto list = std::make_unique<ZelList>();
  zelAppend(*list, std::make_unique<TZelPrimitive<int>>(1));
  zelAppend(*list, std::make_unique<ZelList>());
  zelAppend(*list, nullptr);
  zelPut(*body, 8, std::move(list));
  zelPut(*body, 9, std::unique_ptr<ZelData>(std::make_unique<ZelMap>()));
  std::string sent;
  jvm.onProcessInbound = [&](JNIEnv*, const fakejvm::ObjectPtr& msg) { sent = describe(msg); };
  ZelMsg msg(4, ZelMsg::Notification, body.release());

  ZelClient::getInstance()->request(msg, nullptr);

  EXPECT_EQ(sent,
            "{0: 2, 1: 4, 3: {1: 1099511627776L, 2: -5, 3: true, 4: false, 5: \"text\", "
            "6: x'610062', 7: x'', 8: [1, [], null], 9: {}}}");
}

TEST_F(ZelJniClientTest, OutboundObjectsAreMadeInOrderAndOnlyMapKeysAreDeleted) {
  makeClient();
  auto body = std::make_unique<ZelList>();
  zelAppend(*body, std::make_unique<ZelByteArray>("a"));
  ZelMsg msg(4, ZelMsg::Notification, body.release());
  const std::size_t before = jvm.localReferences();

  const auto calls = callsOf([&] { ZelClient::getInstance()->request(msg, nullptr); });

  const std::string list = "java/util/ArrayList";
  const std::string map = "java/util/HashMap";
  EXPECT_THAT(
      calls,
      ElementsAre("AttachCurrentThreadAsDaemon(null)", "NewObject(" + map + ", {})",
                  "NewObject(java/lang/Integer, 2)", "NewObject(java/lang/Integer, 0)",
                  "CallObjectMethod({}, " + map + ".put)", "DeleteLocalRef(0)",
                  "NewObject(java/lang/Integer, 4)", "NewObject(java/lang/Integer, 1)",
                  "CallObjectMethod({0: 2}, " + map + ".put)", "DeleteLocalRef(1)",
                  "NewObject(" + list + ", [])", "NewByteArray(1)", "SetByteArrayRegion(0, 1)",
                  "CallBooleanMethod([], " + list + ".add)", "NewObject(java/lang/Integer, 3)",
                  "CallObjectMethod({0: 2, 1: 4}, " + map + ".put)", "DeleteLocalRef(3)",
                  "CallVoidMethod(" + inPackage("ipc/msg/jni/JniServer, ") +
                      inPackage("ipc/msg/jni/JniServer.processInbound)")));
  EXPECT_EQ(jvm.localReferences() - before, 5U);  // the envelope, type, id, list and bytes
}

TEST_F(ZelJniClientTest, AnApplicationExceptionIsStoredAndTheAgentGoesOn) {
  makeClient();
  answerRequests(ZelMsg::Exception, exceptionBody(ZelAppException::kOrdinary));
  EchoRequest request(nullptr);

  ZelClient::run(request, true);

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcMessage(), "refused");
  EXPECT_THAT(framework.callsOf("IRA_"), IsEmpty());
}

TEST_F(ZelJniClientTest, ACriticalExceptionDestroysTheClientWhileItExecutes) {
  makeClient();
  answerRequests(ZelMsg::Exception, exceptionBody(ZelAppException::kCritical));
  EchoRequest request(nullptr);

  ZelClient::run(request, true);

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcSeverity(), ZelAppException::kCritical);
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_EQ(ZelJniClient::s_server.load(), nullptr);
  EXPECT_TRUE(framework.hasMessage("FATAL: Agent terminated with the critical Java exception."));
  EXPECT_THAT(framework.callsOf("IRA_"), ElementsAre("IRA_Shutdown(1)"));
}

TEST_F(ZelJniClientTest, TheClientMayBeDestroyedWhileThreadsSendAndJavaAnswers) {
  jvm.isCreatedOnce = true;
  makeClient();
  answerRequests(ZelMsg::Reply, fakejvm::map({}));
  std::atomic<int> answered{0};
  std::atomic<int> refused{0};
  const auto send = [&] {
    while (refused.load() == 0) {
      try {
        EchoRequest request(nullptr);
        ZelClient::run(request, true);
        answered.fetch_add(request.isAppExc() ? 0 : 1);
      } catch (const ZelException&) {
        refused.fetch_add(1);  // no client can be made a second time
      }
    }
  };
  std::thread first(send);
  std::thread second(send);
  while (answered.load() < 10) {
    std::this_thread::yield();
  }

  ZelClient::destroy();

  first.join();
  second.join();
  EXPECT_GT(refused.load(), 0);
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
}

TEST_F(ZelJniClientTest, AMalformedMessageIsRejectedAndJavaGoesOn) {
  makeClient();
  framework.setMask("ZELJCLNT", kRas1Error);
  const auto key = [](const fakejvm::ObjectPtr& object) {
    return fakejvm::map({{object, fakejvm::integer(1)}});
  };
  const fakejvm::ObjectPtr number = fakejvm::instance("java/lang/Double");
  const auto internal = StartsWith("ERROR: internal exception in zeljconvert.cpp at line ");
  const std::pair<fakejvm::ObjectPtr, std::string> cases[] = {
      {nullptr, "ERROR: got null object"},
      {number, "ERROR: unknown object type"},
      {fakejvm::list({fakejvm::integer(1), number}), "ERROR: unknown object type"},
      {fakejvm::list({nullptr}), "ERROR: got null object"},
      {key(nullptr), "ERROR: got null object"},
      {key(number), "ERROR: unknown object type"},
  };
  for (const auto& [message, text] : cases) {
    EXPECT_THAT(messagesOf([&, &sent = message] { putOutbound(jvm.env(), sent); }),
                ElementsAre(text, internal));
    EXPECT_EQ(jvm.localReferences(), 0U);
  }
  const auto badCast = StartsWith("ERROR: STD C++ library exception '");
  EXPECT_THAT(messagesOf([&] { putOutbound(jvm.env(), key(fakejvm::string("k"))); }),
              ElementsAre(badCast));
  EXPECT_THAT(messagesOf([&] { putOutbound(jvm.env(), fakejvm::integer(1)); }),
              ElementsAre(badCast));

  framework.setMask("ZELJCLNT", 0xFF & ~kRas1Error);
  EXPECT_THAT(messagesOf([&] { putOutbound(jvm.env(), nullptr); }), ElementsAre(internal));
  EXPECT_THAT(messagesOf([&] { putOutbound(jvm.env(), number); }), ElementsAre(internal));
}

TEST_F(ZelJniClientTest, AFailureWhileAMessageIsHandledIsTracedAndJavaGoesOn) {
  makeClient();
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[] {
         throw ZelAppException{3, "refused"};
       },
       "ERROR: request processing failed ...\nrefused"},
      {[] { throw ZelException("some.cpp", 7, 1); },
       "ERROR: internal exception in some.cpp at line 7"},
      {[] { throw std::runtime_error("broken"); }, "ERROR: STD C++ library exception 'broken'"},
  };
  for (const auto& [failure, text] : cases) {
    FailingHandler handler(failure);
    ZelClient::getInstance()->setRequestHandler(&handler);
    EXPECT_THAT(messagesOf([&] { putOutbound(jvm.env(), inboundRequest(5)); }), ElementsAre(text));
  }
}

TEST_F(ZelJniClientTest, AHandlersReplyGoesOutWithoutAnId) {
  makeClient();
  FailingHandler handler([] {});
  ZelClient::getInstance()->setRequestHandler(&handler);
  std::string sent;
  jvm.onProcessInbound = [&](JNIEnv*, const fakejvm::ObjectPtr& msg) { sent = describe(msg); };

  putOutbound(jvm.env(), inboundRequest(5));

  EXPECT_EQ(sent, "{0: 1, 3: {}, 4: 9L}");
}

TEST_F(ZelJniClientDeathTest, AnUnknownExceptionInTheCallbackEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        makeClient();
        showTraceAtExit();
        FailingHandler handler([] { throw 42; });
        ZelClient::getInstance()->setRequestHandler(&handler);
        putOutbound(jvm.env(), inboundRequest(5));
      },
      ExitedWithCode(255), "ERROR: unknown exception. Agent terminated abnormally.\n");
}

TEST_F(ZelJniClientDeathTest, AJavaExceptionOutOfTheServerEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        makeClient();
        showTraceAtExit();
        jvm.raising[inPackage("ipc/msg/jni/JniServer.processInbound")] = Raise{};
        EchoRequest request(nullptr);
        ZelClient::run(request, true);
      },
      ExitedWithCode(255),
      "java.lang.RuntimeException: scripted\nAgent shuts down ...\n(.*\n)*"
      "FATAL: unexpected Java exception. Agent terminated.\n(.*\n)*IRA_Shutdown\\(1\\)");
}

TEST_F(ZelJniClientDeathTest, AJavaErrorOutOfTheServerEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const Raise error{"java/lang/OutOfMemoryError", "heap", 0};
  EXPECT_EXIT(
      {
        makeClient();
        showTraceAtExit();
        jvm.raising[inPackage("ipc/msg/jni/JniServer.processInbound")] = error;
        EchoRequest request(nullptr);
        ZelClient::run(request, true);
      },
      ExitedWithCode(255),
      "java.lang.OutOfMemoryError: heap\nAgent shuts down ...\n(.*\n)*"
      "FATAL: Agent terminated with the critical Java exception.\n");
}

TEST_F(ZelJniClientDeathTest, AMissingApplicationClassEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  for (const char* name :
       {"logging/handlers/RAS1Wrapper", "osutils/DaemonWBProcess", "pova/WbApp"}) {
    EXPECT_EXIT(
        {
          showTraceAtExit();
          jvm.missingClasses.insert(inPackage(name));
          makeClient();
        },
        ExitedWithCode(255),
        "java.lang.NoClassDefFoundError: .*\nAgent shuts down ...\n"
        "FATAL: Agent terminated with the critical Java exception.\n");
  }
}

}  // namespace
