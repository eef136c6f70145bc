#include "bridge/zelclient.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "bridge/zelbuild.h"
#include "bridge/zeltask.h"
#include "support/library_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRequestId = 50;

class TestRequest : public ZelRequest {
 public:
  explicit TestRequest(bool isOneWay) : ZelRequest(isOneWay) {}
  ZelMsg* createRegMsg() override {
    auto body = std::make_unique<ZelMap>();
    zelPut<int>(*body, 0, 7);
    return new ZelMsg(kRequestId, isOneWay() ? ZelMsg::Notification : ZelMsg::Request,
                      body.release());
  }
  void onReply(const ZelMap& body) override { answer = fake::describe(&body); }

  std::string answer;
};

class BodilessRequest : public ZelRequest {
 public:
  BodilessRequest() : ZelRequest(false) {}
  ZelMsg* createRegMsg() override { return new ZelMsg(kRequestId, ZelMsg::Request, nullptr); }
  void onReply(const ZelMap& /*body*/) override {}
};

class Subscriber : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override {
    received = fake::describe(msg.body.get());
    thread = std::this_thread::get_id();
    if (action) {
      action();
    }
    count.fetch_add(1);
    return true;
  }
  int getType() const override { return 60; }
  bool waitForCount(int expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (count.load() < expected && std::chrono::steady_clock::now() < deadline) {
      ZelClient::s_tqEvent.signal(true);
      std::this_thread::yield();
    }
    return count.load() >= expected;
  }

  std::function<void()> action;
  std::string received;
  std::thread::id thread;
  std::atomic<int> count{0};
};

class ZelClientTest : public LibraryTest {};

TEST_F(ZelClientTest, TheFirstUseCreatesTheClientAndStartsTheMessageHandlerOnce) {
  ZelClient* client = ZelClient::getInstance();

  EXPECT_EQ(ZelClient::getInstance(), client);
  EXPECT_EQ(bridge.clientsCreated(), 1u);
  EXPECT_TRUE(framework.waitForMessage("Message handler started"));
}

TEST_F(ZelClientTest, ARequestTravelsWithTypeIdBodyAndTheRequestersAddress) {
  TestRequest request(false);

  ZelClient::run(request, false);

  const auto sent = bridge.sent();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(fake::describe(sent[0].envelope.get()),
            "{0: 0, 1: 50, 3: {0: 7}, 4: " +
                std::to_string(reinterpret_cast<long long>(static_cast<ZelRequest*>(&request))) +
                "L}");
}

TEST_F(ZelClientTest, AMessageWithoutBodyHasNoBodyKey) {
  BodilessRequest request;

  ZelClient::run(request, false);

  EXPECT_EQ(bridge.sent()[0].envelope->entries.count(ZelEnvelopeKey::kBody), 0u);
  EXPECT_EQ(bridge.sent()[0].envelope->entries.count(2), 0u);
}

TEST_F(ZelClientTest, ARequestWithoutRequesterCarriesHandleZero) {
  ZelMsg msg(kRequestId, ZelMsg::Request, nullptr);

  ZelClient::getInstance()->request(msg, nullptr);

  EXPECT_EQ(bridge.sent()[0].requester, 0);
}

TEST_F(ZelClientTest, ANotificationCarriesNoRequester) {
  ZelMsg msg(kRequestId, ZelMsg::Notification, nullptr);

  ZelClient::getInstance()->request(msg, nullptr);

  EXPECT_EQ(fake::describe(bridge.sent()[0].envelope.get()), "{0: 2, 1: 50}");
}

TEST_F(ZelClientTest, TheReplyReachesTheRequestThatAsked) {
  bridge.replies[kRequestId] = fake::map({{9, fake::text("yes")}});
  TestRequest request(false);

  ZelClient::run(request, false);

  EXPECT_EQ(request.answer, R"({9: "yes"})");
  EXPECT_FALSE(request.isAppExc());
}

TEST_F(ZelClientTest, AnExceptionReplyIsStoredOnTheRequest) {
  bridge.exceptions[kRequestId] = {3, "refused"};
  TestRequest request(false);

  ZelClient::run(request, false);

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcMessage(), "refused");
}

TEST_F(ZelClientTest, ARequestThatGetsNoReplyHasAnApplicationException) {
  bridge.silent.insert(kRequestId);
  TestRequest request(false);

  ZelClient::run(request, false);

  EXPECT_TRUE(request.isAppExc());
  EXPECT_TRUE(framework.hasMessage("ERROR: no reply data"));
}

TEST_F(ZelClientTest, AOneWayRequestIsQueuedAndSentByTheMessageHandler) {
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

TEST_F(ZelClientTest, AForcedOneWayRequestIsSentOnTheCallersThread) {
  std::thread::id sender;
  bridge.onSent[kRequestId] = [&](const fake::Sent&) { sender = std::this_thread::get_id(); };
  TestRequest request(true);

  ZelClient::run(request, true);

  EXPECT_EQ(sender, std::this_thread::get_id());
  EXPECT_FALSE(request.isAppExc());
}

TEST_F(ZelClientTest, ANotificationIsDeliveredOnTheMessageHandlerThread) {
  Subscriber subscriber;
  ZelClient::getInstance()->subscribe(subscriber);

  fake::sendInbound(ZelMsg::Notification, 60, fake::map({{0, fake::text("n")}}));

  ASSERT_TRUE(subscriber.waitForCount(1));
  EXPECT_EQ(subscriber.received, R"({0: "n"})");
  EXPECT_NE(subscriber.thread, std::this_thread::get_id());
}

TEST_F(ZelClientTest, ANotificationWithoutSubscriberIsTracedWhenItsTaskRuns) {
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
}

TEST_F(ZelClientTest, ALaterSubscriberReplacesAnEarlierOneAndUnsubscribeReturnsIt) {
  Subscriber first;
  Subscriber second;
  ZelClient* client = ZelClient::getInstance();
  client->subscribe(first);
  client->subscribe(second);

  EXPECT_EQ(client->getSubscriber(60), &second);
  EXPECT_EQ(client->unsubscribe(60), &second);
  EXPECT_EQ(client->unsubscribe(60), nullptr);
  EXPECT_EQ(client->getSubscriber(60), nullptr);
}

TEST_F(ZelClientTest, ANotificationWithoutBodyIsAProtocolError) {
  ZelMap envelope;
  zelPut<int>(envelope, 0, ZelMsg::Notification);
  zelPut<int>(envelope, 1, 60);

  EXPECT_THROW(ZelClient::getInstance()->processInbound(envelope), ZelException);
}

class Handler : public ZelRequestHandler {
 public:
  ZelMap* handleRequest(const ZelMap& body) override {
    asked = fake::describe(&body);
    auto reply = std::make_unique<ZelMap>();
    zelPut<int>(*reply, 5, 6);
    return reply.release();
  }
  int getType() const override { return 70; }

  std::string asked;
};

TEST_F(ZelClientTest, ARequestOfTheApplicationIsAnsweredByItsHandlerWithoutAnId) {
  Handler handler;
  ZelClient* client = ZelClient::getInstance();
  client->setRequestHandler(&handler);
  ZelMap envelope;
  zelPut<int>(envelope, 0, ZelMsg::Request);
  zelPut<int>(envelope, 1, 70);
  zelPut(envelope, 3, fake::map({{1, fake::integer(2)}})());
  zelPut<long long>(envelope, 4, 1234567890123LL);

  client->processInbound(envelope);

  EXPECT_EQ(handler.asked, "{1: 2}");
  ASSERT_EQ(bridge.sent().size(), 1u);
  EXPECT_EQ(fake::describe(bridge.sent()[0].envelope.get()),
            "{0: 1, 3: {5: 6}, 4: 1234567890123L}");
}

TEST_F(ZelClientTest, ARequestOfTheApplicationWithoutHandlerIsDroppedUnanswered) {
  fake::sendInbound(ZelMsg::Request, 71, fake::map({}));

  EXPECT_TRUE(framework.hasMessage("WARN: cannot find a handler for request 71"));
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelClientTest, AReplyWithHandleZeroIsTracedAndReachesNoRequest) {
  for (const ZelMsg::Type type : {ZelMsg::Reply, ZelMsg::Exception}) {
    ZelMap envelope;
    zelPut<int>(envelope, 0, type);
    zelPut<int>(envelope, 1, 8);
    zelPut<long long>(envelope, 4, 0);
    ZelClient::getInstance()->processInbound(envelope);
  }

  EXPECT_EQ(framework.countMessages("WARN: Exception processing completed: id=8"), 2u);
}

TEST_F(ZelClientTest, AReplyWithoutBodyIsAProtocolError) {
  TestRequest request(false);
  ZelMap envelope;
  zelPut<int>(envelope, 0, ZelMsg::Reply);
  zelPut<int>(envelope, 1, 8);
  zelPut<long long>(envelope, 4, reinterpret_cast<long long>(static_cast<ZelRequest*>(&request)));

  EXPECT_THROW(ZelClient::getInstance()->processInbound(envelope), ZelException);
}

TEST_F(ZelClientTest, AnUnknownMessageTypeIsTraced) {
  fake::sendInbound(static_cast<ZelMsg::Type>(9), 1, fake::map({}));

  EXPECT_TRUE(framework.hasMessage("ERROR: invalid message type 9"));
}

TEST_F(ZelClientTest, ThrowingTasksAreReportedAndTheHandlerGoesOn) {
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

TEST_F(ZelClientTest, DestroyDropsQueuedTasksUnrunAndEndsTheMessageHandler) {
  static std::atomic<int> ran{0};
  static std::atomic<int> deleted{0};
  static std::atomic<bool> blocked{false};
  static std::atomic<bool> release{false};
  ran = deleted = 0;
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

TEST_F(ZelClientTest, TheMessageHandlerStopsWhenTheAgentShutsDown) {
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

TEST_F(ZelClientTest, DestroyWaitsForTheUsesOfOtherThreads) {
  ZelClient::getInstance();
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
}

TEST_F(ZelClientTest, DestroyNeverWaitsForItsOwnUse) {
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

TEST_F(ZelClientTest, TwoRacingDestroysDeleteTheClientOnce) {
  for (int round = 0; round < 50; ++round) {
    ZelClient::getInstance();
    std::thread other(ZelClient::destroy);
    ZelClient::destroy();
    other.join();
    EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  }
}

TEST_F(ZelClientTest, ACriticalExceptionDestroysTheClientWhileItExecutes) {
  bridge.exceptions[kRequestId] = {1, "the end"};
  TestRequest request(false);

  ZelClient::run(request, false);

  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_TRUE(request.isAppExc());
  EXPECT_TRUE(framework.hasMessage("FATAL: Agent terminated with the critical Java exception."));
}

}  // namespace
