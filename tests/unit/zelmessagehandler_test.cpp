// The thread that runs queued tasks.

#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "bridge/zeltask.h"
#include "support/client_fixture.h"
#include "support/pthread_calls.h"
#include "support/trace_view.h"

namespace {

class ZelMessageHandlerTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    fake::PthreadCalls::get().reset();
  }

  void TearDown() override {
    fake::PthreadCalls::get().reset();
    LibraryTest::TearDown();
  }

  /// Runs `action` whenever the waiters on the task queue are woken. Call before there is a client.
  static void whenWoken(std::function<void()> action) {
    fake::PthreadCalls::get().onBroadcast = [action = std::move(action)](const void* condition) {
      if (condition == &ZelClient::s_tqEvent) {
        action();
      }
    };
  }

  /// The waits of other threads on the task queue.
  static std::vector<fake::PthreadWait> idleWaits() {
    std::vector<fake::PthreadWait> waits = fake::PthreadCalls::get().waits();
    std::erase_if(waits, [](const fake::PthreadWait& wait) {
      return wait.condition != &ZelClient::s_tqEvent;
    });
    return waits;
  }
};

TEST_F(ZelMessageHandlerTest, ANotificationIsDeliveredOnTheMessageHandlerThread) {
  Subscriber subscriber;
  ZelClient::getInstance()->subscribe(subscriber);

  fake::sendInbound(ZelMsg::Notification, 60, fake::map({{0, fake::text("n")}}));

  ASSERT_TRUE(subscriber.waitForCount(1));
  EXPECT_EQ(subscriber.received, R"({0: "n"})");
  EXPECT_NE(subscriber.thread, std::this_thread::get_id());
}

TEST_F(ZelMessageHandlerTest, ANotificationWithoutSubscriberIsTracedWhenItsTaskRuns) {
  Subscriber subscriber;
  std::atomic<bool> release{false};
  subscriber.action = [&] {
    while (!release.load()) {
      std::this_thread::yield();
    }
  };
  ZelClient::getInstance()->subscribe(subscriber);
  fake::sendInbound(ZelMsg::Notification, 60, fake::map({}));

  fake::sendInbound(ZelMsg::Notification, 61, fake::map({}));
  EXPECT_FALSE(framework.hasMessage("WARN: cannot find a subscriber for notification 61"));
  release.store(true);

  ASSERT_TRUE(subscriber.waitForCount(1));
  EXPECT_TRUE(framework.waitForMessage("WARN: cannot find a subscriber for notification 61"));
  EXPECT_EQ(framework.trace().back().unit, "ZELTASK");
}

TEST_F(ZelMessageHandlerTest, ThrowingTasksAreReportedAndTheHandlerGoesOn) {
  Subscriber subscriber;
  int turn = 0;
  subscriber.action = [&] {
    switch (turn++) {
      case 0:
        subscriber.count.fetch_add(1);
        throw ZelAppException{3, "app"};
      case 1:
        subscriber.count.fetch_add(1);
        throw ZelException("somewhere.cpp", 12, 1);
      case 2:
        subscriber.count.fetch_add(1);
        throw std::runtime_error("library");
      default:
        break;
    }
  };
  ZelClient::getInstance()->subscribe(subscriber);
  for (int i = 0; i < 4; ++i) {
    fake::sendInbound(ZelMsg::Notification, 60, fake::map({}));
  }

  ASSERT_TRUE(subscriber.waitForCount(4));
  EXPECT_TRUE(framework.hasMessage("ERROR: request processing failed ...\napp"));
  EXPECT_TRUE(framework.hasMessage("ERROR: internal exception in somewhere.cpp at line 12"));
  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'library'"));
}

TEST_F(ZelMessageHandlerTest, TheMessageHandlerStopsWhenTheAgentShutsDown) {
  ZelClient::getInstance();
  ASSERT_TRUE(framework.waitForMessage("Message handler started"));

  ZelAgent::s_isShutdown.store(true);
  ZelClient::s_tqEvent.signal(true);
  while (!framework.hasMessage("Message handler stopped")) {
    ZelClient::s_tqEvent.signal(true);
    std::this_thread::yield();
  }

  EXPECT_FALSE(ZelClient::s_mhRunning.load());
}

TEST_F(ZelMessageHandlerTest, AOneWayRequestIsQueuedAndSentByTheMessageHandler) {
  std::thread::id sender;
  bridge.onSent[kRequestId] = [&](const fake::Sent&) { sender = std::this_thread::get_id(); };
  {
    TestRequest request(true);
    ZelClient::run(request, false);
  }  // never touched again after it was queued

  ASSERT_TRUE(bridge.waitForSent(kRequestId));
  EXPECT_NE(sender, std::this_thread::get_id());
  EXPECT_EQ(fake::describe(bridge.sent()[0].envelope.get()), "{0: 2, 1: 50, 3: {0: 7}}");
}

TEST_F(ZelMessageHandlerTest, AnIdleHandlerWaitsAtMostSixtySecondsAndLooksForShutdownThen) {
  framework.timeSeconds = 1000;  // long past: the wait is over at once, without a signal
  framework.timeNanoseconds = 7;
  ZelClient::getInstance();
  while (idleWaits().empty()) {
    std::this_thread::yield();
  }

  ZelAgent::s_isShutdown.store(true);

  EXPECT_TRUE(framework.waitForMessage("Message handler stopped"));
  EXPECT_TRUE(idleWaits()[0].bounded);
  EXPECT_EQ(idleWaits()[0].deadline.tv_sec, 1060);
  EXPECT_EQ(idleWaits()[0].deadline.tv_nsec, 7);
}

TEST_F(ZelMessageHandlerTest, AQueuedTaskWakesTheHandlerUnderTheQueuesLock) {
  class Nothing : public ZelTask {
   public:
    void run() override {}
  };
  std::vector<std::size_t> queued;
  whenWoken([&] {
    auto* mutex = reinterpret_cast<pthread_mutex_t*>(&ZelClient::s_tqMutex);
    EXPECT_EQ(pthread_mutex_trylock(mutex), EBUSY);
    queued.push_back(ZelClient::s_taskQueue.size());
  });

  ZelClient::getInstance()->queueTask(new Nothing);

  EXPECT_THAT(queued, testing::ElementsAre(1u));
}

TEST_F(ZelMessageHandlerTest, DestroyWakesTheHandlerOnceWhileTheClientStillStands) {
  int wakes = 0;
  whenWoken([&] {
    EXPECT_FALSE(ZelClient::s_mhRunning.load());
    EXPECT_NE(ZelClient::s_inst.load(), nullptr);
    ++wakes;
  });
  ZelClient::getInstance();
  ASSERT_TRUE(framework.waitForMessage("Message handler started"));

  ZelClient::destroy();
  ZelClient::destroy();

  EXPECT_EQ(wakes, 1);
}

TEST_F(ZelMessageHandlerTest, ATaskRunsOutsideTheQueuesLock) {
  Subscriber subscriber;
  subscriber.action = [] { ZelAutoMutex lock(ZelClient::s_tqMutex); };  // else it would block
  ZelClient::getInstance()->subscribe(subscriber);

  fake::sendInbound(ZelMsg::Notification, 60, fake::map({}));

  EXPECT_TRUE(subscriber.waitForCount(1));
}

TEST_F(ZelMessageHandlerTest, AnUnknownExceptionOfATaskEndsTheProcess) {
  const auto fail = [] {
    fake::printMessagesAtExit();
    Subscriber subscriber;
    subscriber.action = [] { throw 5; };
    ZelClient::getInstance()->subscribe(subscriber);
    fake::sendInbound(ZelMsg::Notification, 60, fake::map({}));
    subscriber.waitForCount(1);  // never comes: the process ends
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(fail(), testing::ExitedWithCode(255),
              "ZELCLIENT zelMessageHandler: " + std::string(kUnknownExceptionText));
}

}  // namespace
