#include "bridge/zelclient.h"
#include "bridge/zelkeys.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "support/client_fixture.h"
#include "support/pthread_calls.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BodilessRequest : public ZelRequest {
 public:
  BodilessRequest() : ZelRequest(false) {}
  ZelMsg* createRegMsg() override { return new ZelMsg(kRequestId, ZelMsg::Request, nullptr); }
  void onReply(const ZelMap& /*body*/) override {}
};

class ZelClientTest : public LibraryTest {
 protected:
  void TearDown() override {
    fake::PthreadCalls::get().reset();
    LibraryTest::TearDown();
  }
};

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

  EXPECT_EQ(bridge.sent()[0].envelope->entries.count(ZelKey::Envelope::kBody), 0u);
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

TEST_F(ZelClientTest, AForcedOneWayRequestIsSentOnTheCallersThread) {
  std::thread::id sender;
  bridge.onSent[kRequestId] = [&](const fake::Sent&) { sender = std::this_thread::get_id(); };
  TestRequest request(true);

  ZelClient::run(request, true);

  EXPECT_EQ(sender, std::this_thread::get_id());
  EXPECT_FALSE(request.isAppExc());
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

TEST_F(ZelClientTest, AMessageHandlerThatCannotBeStartedShutsDownAndLeavesNoClient) {
  fake::PthreadCalls::get().createResult.store(EAGAIN);

  EXPECT_THROW(ZelClient::getInstance(), ZelException);

  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: pthread_create() failed (rc 11)", "Agent shuts down ..."));
  bridge.reset();  // no message handler ends with this client
}

}  // namespace
