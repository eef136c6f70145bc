// How the bridge client ends under its users.

#include <gmock/gmock.h>

#include <unistd.h>

#include <cstdlib>

#include "bridge/zeltask.h"
#include "support/client_fixture.h"

namespace {

// Registered before any static object is built, so that it runs when all of them are destroyed.
void (*afterStatics)() = nullptr;

__attribute__((constructor(101))) void registerEnd() {
  std::atexit([] {
    if (afterStatics != nullptr) {
      afterStatics();
    }
  });
}

class ZelClientDestroyTest : public LibraryTest {};

TEST_F(ZelClientDestroyTest, DestroyDropsQueuedTasksUnrunAndEndsTheMessageHandler) {
  static std::atomic<int> ran{0};
  static std::atomic<int> deleted{0};
  static std::atomic<bool> blocked{false};
  static std::atomic<bool> release{false};
  ran = deleted = 0;
  blocked = release = false;
  class Blocker : public ZelTask {
   public:
    void run() override {
      blocked.store(true);
      while (!release.load()) {
        std::this_thread::yield();
      }
    }
  };
  class Dropped : public ZelTask {
   public:
    ~Dropped() override { ++deleted; }
    void run() override { ++ran; }
  };
  ZelClient::s_destroyBoundMs.store(10);
  ZelClient* client = ZelClient::getInstance();
  client->queueTask(new Blocker);
  while (!blocked.load()) {
    ZelClient::s_tqEvent.signal(true);
    std::this_thread::yield();
  }
  client->queueTask(new Dropped);
  client->queueTask(new Dropped);

  ZelClient::destroy();
  const int deletedByDestroy = deleted.load();
  release.store(true);

  EXPECT_EQ(deletedByDestroy, 2);
  EXPECT_TRUE(framework.waitForMessage("Message handler stopped"));
  EXPECT_EQ(ran.load(), 0);
  ZelClient::s_destroyBoundMs.store(2000);
  delete client;  // left undeleted: the task outlasted the bound
}

TEST_F(ZelClientDestroyTest, DestroyDeletesTheClientAndThenDropsTheQueue) {
  class Dropped : public ZelTask {
   public:
    void run() override {}
  };
  class Ending : public ZelClient {
   public:
    explicit Ending(std::vector<std::size_t>& queued) : queuedAtEnd(queued) {}
    ~Ending() override {
      EXPECT_EQ(s_inst.load(), nullptr);
      queuedAtEnd.push_back(s_taskQueue.size());
    }
    void putOutbound(const ZelMap& /*envelope*/) override {}

   private:
    std::vector<std::size_t>& queuedAtEnd;
  };
  std::vector<std::size_t> queued;
  ZelClient::s_inst.store(new Ending(queued));
  ZelClient::s_inst.load()->queueTask(new Dropped);

  ZelClient::destroy();

  EXPECT_THAT(queued, testing::ElementsAre(1u));
  EXPECT_TRUE(ZelClient::s_taskQueue.empty());
}

TEST_F(ZelClientDestroyTest, DestroyWaitsForTheUsesOfOtherThreads) {
  ZelClient::s_destroyBoundMs.store(600'000);  // the end of a use ends the wait, no clock
  ZelClient::getInstance();
  { const ZelClientUse ended; }
  std::atomic<bool> inUse{false};
  std::atomic<bool> finished{false};
  std::thread user([&] {
    const ZelClientUse use;
    inUse.store(true);
    for (int i = 0; i < 1000; ++i) {
      std::this_thread::yield();
    }
    finished.store(true);
  });
  while (!inUse.load()) {
    std::this_thread::yield();
  }

  ZelClient::destroy();

  EXPECT_TRUE(finished.load());
  user.join();
  ZelClient::s_destroyBoundMs.store(2000);
}

TEST_F(ZelClientDestroyTest, DestroyNeverWaitsForItsOwnUse) {
  ZelClient::s_destroyBoundMs.store(20000);
  ZelClient::getInstance();
  const auto begin = std::chrono::steady_clock::now();
  {
    const ZelClientUse use;
    ZelClient::destroy();
  }

  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  ZelClient::s_destroyBoundMs.store(2000);
}

TEST_F(ZelClientDestroyTest, AReplyThatComesMeanwhileReachesItsRequest) {
  ZelClient::s_destroyBoundMs.store(600'000);
  ZelClient::getInstance();
  std::atomic<bool> isAsked{false};
  bridge.onSent[kRequestId] = [&](const fake::Sent&) {
    isAsked.store(true);
    while (ZelClient::s_inst.load() != nullptr) {
      std::this_thread::yield();
    }
  };
  TestRequest request(false);
  std::thread user([&] { ZelClient::run(request, false); });
  while (!isAsked.load()) {
    std::this_thread::yield();
  }

  ZelClient::destroy();
  user.join();

  EXPECT_FALSE(request.isAppExc());
  EXPECT_EQ(bridge.clientsCreated(), 1u);
  ZelClient::s_destroyBoundMs.store(2000);
}

TEST_F(ZelClientDestroyTest, AThreadForgetsTheClientThatItDestroysInsideItsOwnRequests) {
  ZelClient::getInstance();
  int depth = 0;
  std::vector<ZelClient*> current;
  bridge.onSent[kRequestId] = [&](const fake::Sent&) {
    if (++depth == 2) {
      ZelClient::destroy();
    } else {
      TestRequest inner(false);
      ZelClient::run(inner, false);
    }
    current.push_back(ZelClient::current());  // makes a new one
  };
  TestRequest outer(false);

  ZelClient::run(outer, false);

  ZelClient* const made = ZelClient::s_inst.load();
  ASSERT_NE(made, nullptr);
  EXPECT_THAT(current, testing::ElementsAre(made, made));
  EXPECT_EQ(bridge.clientsCreated(), 2u);
}

TEST_F(ZelClientDestroyTest, TwoRacingDestroysDeleteTheClientOnce) {
  for (int round = 0; round < 50; ++round) {
    ZelClient::getInstance();
    std::thread other(ZelClient::destroy);
    ZelClient::destroy();
    other.join();
    EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  }
}

TEST_F(ZelClientDestroyTest, WhatOtherThreadsUseOutlivesTheStaticObjectsWhenTheProcessExits) {
  class Nothing : public ZelTask {
   public:
    void run() override {}
  };
  constexpr int kUsable = 42;
  const auto leave = [] {
    ZelAgent::s_managers["a table"] = nullptr;
    ZelAgent::s_versionAff = "a version affinity that is longer than a small string";
    ZelClient::s_taskQueue.push(new Nothing);
    afterStatics = [] {
      const bool usable = ZelClient::s_tqMutex.lock() == 0 && ZelClient::s_taskQueue.size() == 1 &&
                          ZelAgent::s_managers.count("a table") == 1 &&
                          ZelAgent::s_versionAff.ends_with("a small string");
      ZelClient::s_tqEvent.signal(true);
      ZelAgent::s_shutdownEvent.signal(true);
      _exit(usable ? kUsable : 1);
    };
    std::exit(0);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(leave(), testing::ExitedWithCode(kUsable), "");
}

TEST_F(ZelClientDestroyTest, ACriticalExceptionDestroysTheClientWhileItExecutes) {
  bridge.exceptions[kRequestId] = {1, "the end"};
  TestRequest request(false);

  ZelClient::run(request, false);

  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_TRUE(request.isAppExc());
  EXPECT_TRUE(framework.hasMessage("FATAL: Agent terminated with the critical Java exception."));
}

}  // namespace
