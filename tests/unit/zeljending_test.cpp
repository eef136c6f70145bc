// What the Java application still delivers while the client is being destroyed.

#include <atomic>
#include <thread>

#include "bridge/zelkeys.h"
#include "support/bridge_messages.h"
#include "support/fake_application.h"
#include "zelagent.h"

using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class EndingTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    ZelClient::s_destroyBoundMs.store(600'000);  // the end of the uses ends the wait, no clock
    makeClient();
  }

  void TearDown() override {
    ZelClient::s_destroyBoundMs.store(2000);
    ZelAgent::s_started.store(false);
    JvmTest::TearDown();
  }

  static void await(const std::function<bool()>& condition) {
    while (!condition()) {
      std::this_thread::yield();
    }
  }

  static bool isBeingDestroyed() { return ZelClient::s_inst.load() == nullptr; }
};

TEST_F(EndingTest, AReplyReachesItsRequestWhileTheClientIsBeingDestroyed) {
  std::atomic<bool> isAsked{false};
  jvm.onProcessInbound = [&](JNIEnv* env, const fakejvm::ObjectPtr& msg) {
    isAsked.store(true);
    await(isBeingDestroyed);
    putOutbound(env, answerTo(msg, ZelMsg::Reply, fakejvm::map({})));
  };
  EchoRequest request(nullptr);

  const auto messages = messagesOf([&] {
    std::thread user([&] { ZelClient::run(request, true); });
    await([&] { return isAsked.load(); });
    ZelClient::destroy();
    user.join();
  });

  EXPECT_FALSE(request.isAppExc());
  EXPECT_THAT(messages, Not(Contains(StartsWith("ERROR"))));
  EXPECT_THAT(jvm.callsOf("JNI_CreateJavaVM"), testing::SizeIs(1));
}

TEST_F(EndingTest, OfTwoStopsAtATimeBothGetTheirAnswers) {
  ZelAgent::s_started.store(true);
  std::atomic<int> asked{0};
  jvm.onProcessInbound = [&](JNIEnv* env, const fakejvm::ObjectPtr& msg) {
    const bool isFirst = asked.fetch_add(1) == 0;
    await([&] { return asked.load() == 2; });
    if (isFirst) {
      await(isBeingDestroyed);  // by the other stop
    }
    fakeapp::answerWell(env, msg);
  };

  const auto messages = messagesOf([&] {
    std::thread other(ZelAgent::stop);
    ZelAgent::stop();
    other.join();
  });

  EXPECT_EQ(asked.load(), 2);
  EXPECT_THAT(messages, Not(Contains(StartsWith("ERROR"))));
}

TEST_F(EndingTest, AStopOfTheApplicationMeetsThatOfASignal) {
  ZelAgent::getInstance()->subscribeNotificationHandlers();
  ZelAgent::s_started.store(true);
  std::atomic<int> asked{0};
  jvm.onProcessInbound = [&](JNIEnv* env, const fakejvm::ObjectPtr& msg) {
    ++asked;
    fakeapp::answerWell(env, msg);
  };
  // Between the notification and its stop the other stop begins, and destroys the client.
  std::atomic<bool> isHandled{false};
  framework.onMessage("Shutdown per Java app request", [&] {
    isHandled.store(true);
    await(isBeingDestroyed);
  });

  const auto messages = messagesOf([&] {
    putOutbound(
        jvm.env(),
        fakeapp::body({{ZelKey::Envelope::kType, fakejvm::integer(ZelMsg::Notification)},
                       {ZelKey::Envelope::kId, fakejvm::integer(ZelNotificationCode::kShutdown)},
                       {ZelKey::Envelope::kBody, fakejvm::map({})}}));
    await([&] {
      ZelClient::s_tqEvent.signal(true);
      return isHandled.load();
    });
    ZelAgent::stop();
    framework.waitForMessage("Message handler stopped");
  });

  EXPECT_EQ(asked.load(), 2);
  EXPECT_THAT(messages, Not(Contains(StartsWith("ERROR"))));
  EXPECT_THAT(jvm.callsOf("JNI_CreateJavaVM"), testing::SizeIs(1));
}

}  // namespace
