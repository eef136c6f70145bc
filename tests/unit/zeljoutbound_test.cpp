// What may fail while a message goes out to the Java application, or while its server is made.

#include <thread>

#include "bridge/jni/zeljclnt.h"
#include "bridge/zelbuild.h"
#include "support/bridge_messages.h"

using fakejvm::Raise;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const char* const kScripted = "java.lang.RuntimeException: scripted";

class OutboundTest : public JvmTest {
 protected:
  /// A body with a value of every kind that is made of Java objects.
  static std::unique_ptr<ZelData> body() {
    auto map = std::make_unique<ZelMap>();
    zelPut<std::string>(*map, 1, "text");
    zelPut(*map, 2, std::make_unique<ZelByteArray>("bytes"));
    auto list = std::make_unique<ZelList>();
    zelAppend(*list, std::make_unique<TZelPrimitive<int>>(1));
    zelPut(*map, 3, std::move(list));
    return map;
  }

  static void send() {
    EchoRequest request(body());
    ZelClient::run(request, false);
  }
};

TEST_F(OutboundTest, AnyThreadThatSendsIsAttachedAsADaemonFirst) {
  makeClient();
  answerRequests(ZelMsg::Reply, fakejvm::map({}));
  EchoRequest request(nullptr);

  const auto calls = callsOf([&] { std::thread([&] { ZelClient::run(request, true); }).join(); });

  EXPECT_FALSE(request.isAppExc());
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.front(), "AttachCurrentThreadAsDaemon(null)");
}

TEST_F(OutboundTest, AnExceptionWhileAMessageIsBuiltIsThrownAndTheAgentGoesOn) {
  makeClient();
  answerRequests(ZelMsg::Reply, fakejvm::map({}));
  for (const char* operation : {"NewObject", "NewStringUTF", "NewByteArray", "SetByteArrayRegion",
                                "java/util/HashMap.put", "java/util/ArrayList.add"}) {
    jvm.raising[operation] = Raise{};

    const auto calls = callsOf([&] {
      EXPECT_THAT(messagesOf([] { EXPECT_TRUE(throwsZelException("zeljni.cpp", send)); }),
                  ElementsAre("ERROR: caught Java exception", kScripted))
          << operation;
    });

    EXPECT_THAT(calls, Not(Contains(StartsWith("CallVoidMethod")))) << operation;
    EXPECT_THAT(framework.callsOf("IRA_"), IsEmpty()) << operation;
    EXPECT_NO_THROW(send()) << operation;
  }
}

TEST_F(OutboundTest, AThreadThatCanNotBeAttachedSendsNothing) {
  makeClient();
  jvm.attachResult = JNI_ENOMEM;

  const auto calls = callsOf([&] {
    EXPECT_THAT(messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", send)); }),
                ElementsAre("ERROR[-4]: AttachCurrentThreadAsDaemon() failed: not enough memory"));
  });

  EXPECT_THAT(calls, ElementsAre("AttachCurrentThreadAsDaemon(null)"));
  jvm.attachResult = JNI_OK;
}

TEST_F(OutboundTest, RefusedNativesPassSilently) {
  jvm.registerResult = JNI_ERR;

  const auto messages = messagesOf([this] { makeClient(); });

  EXPECT_EQ(jvm.callsOf("RegisterNatives").size(), 3U);
  EXPECT_THAT(messages, ElementsAre(StartsWith("Loading JVM "), StartsWith("JVM log:  "),
                                    "Message handler started"));
  EXPECT_NE(ZelJniClient::s_server.load(), nullptr);
}

TEST_F(OutboundTest, AnExceptionWhileNativesAreRegisteredIsThrown) {
  for (const int registered : {0, 1, 2}) {
    jvm.raising["RegisterNatives"] = Raise{.after = registered};

    EXPECT_TRUE(throwsZelException("zeljni.cpp", [] { ZelJniClient(); })) << registered;

    EXPECT_TRUE(framework.hasMessage(kScripted));
    EXPECT_EQ(ZelJniClient::s_server.load(), nullptr);
  }
}

TEST_F(OutboundTest, AServerWhoseNativeCanNotBeRegisteredGivesItsGlobalReferenceBack) {
  jvm.raising["RegisterNatives"] = Raise{.after = 2};

  EXPECT_TRUE(throwsZelException("zeljni.cpp", [] { ZelJniClient(); }));

  const std::string server = inPackage("ipc/msg/jni/JniServer");
  EXPECT_THAT(jvm.callsOf("NewGlobalRef(com"), ElementsAre("NewGlobalRef(" + server + ")"));
  EXPECT_THAT(jvm.callsOf("DeleteGlobalRef("), ElementsAre("DeleteGlobalRef(" + server + ")"));
  EXPECT_EQ(jvm.localReferences(), 0U);
}

}  // namespace
