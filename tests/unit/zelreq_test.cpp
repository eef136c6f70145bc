#include "bridge/zelreq.h"

#include <gmock/gmock.h>

#include <typeinfo>

#include "bridge/zelbuild.h"
#include "support/library_fixture.h"

namespace {

class TestRequest : public ZelRequest {
 public:
  explicit TestRequest(bool isOneWay) : ZelRequest(isOneWay) {}
  ZelMsg* createRegMsg() override { return new ZelMsg(99, ZelMsg::Request, nullptr); }
  void onReply(const ZelMap& body) override { answer = body.get(1).toInt(); }

  int answer = 0;
};

ZelMsg* message(ZelMsg::Type type, const fake::Value& body) {
  return new ZelMsg(99, type, body().release());
}

ZelMsg* exception(int severity, const char* text) {
  return message(ZelMsg::Exception,
                 fake::map({{0, fake::integer(severity)}, {1, fake::text(text)}}));
}

class ZelRequestTest : public LibraryTest {
 protected:
  TestRequest request{false};
};

TEST_F(ZelRequestTest, ANormalReplyIsReadByTheRequest) {
  request.processReply(message(ZelMsg::Reply, fake::map({{1, fake::integer(5)}})));

  request.waitReply();

  EXPECT_EQ(request.answer, 5);
  EXPECT_FALSE(request.isAppExc());
  EXPECT_TRUE(framework.messages().empty());
}

TEST_F(ZelRequestTest, ALaterReplyReplacesAnEarlierOne) {
  request.processReply(message(ZelMsg::Reply, fake::map({{1, fake::integer(5)}})));
  request.processReply(message(ZelMsg::Reply, fake::map({{1, fake::integer(6)}})));

  request.waitReply();

  EXPECT_EQ(request.answer, 6);
}

TEST_F(ZelRequestTest, AnOrdinaryExceptionIsStoredAndTracedAndTheAgentGoesOn) {
  request.processReply(exception(3, "no such table"));

  request.waitReply();

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcSeverity(), 3);
  EXPECT_EQ(request.appExcMessage(), "no such table");
  EXPECT_THAT(
      framework.messages(),
      testing::ElementsAre("ERROR: Application exception raised (severity 3) ...\nno such table"));
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelRequestTest, ACriticalExceptionShutsTheAgentDown) {
  request.processReply(exception(1, "the end"));

  request.waitReply();

  EXPECT_TRUE(request.isAppExc());
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
  EXPECT_THAT(framework.messages(),
              testing::ElementsAre("ERROR: Application exception raised (severity 1) ...\nthe end",
                                   "Agent shuts down ...",
                                   "FATAL: Agent terminated with the critical Java exception."));
  EXPECT_THAT(framework.calls(), testing::Contains("IRA_Shutdown(1)"));
}

TEST_F(ZelRequestTest, ALaterExceptionReplacesAnEarlierOne) {
  request.processReply(exception(3, "first"));
  request.waitReply();
  request.processReply(exception(2, "second"));

  request.waitReply();

  EXPECT_EQ(request.appExcSeverity(), 2);
  EXPECT_EQ(request.appExcMessage(), "second");
}

TEST_F(ZelRequestTest, AnExceptionWithoutItsKeysIsAnInternalFailure) {
  request.processReply(message(ZelMsg::Exception, fake::map({{0, fake::integer(3)}})));

  EXPECT_THROW(request.waitReply(), ZelException);
  EXPECT_FALSE(request.isAppExc());
}

TEST_F(ZelRequestTest, AReplyOfAnotherTypeIsAnUnknownMessageOfSeverityTwo) {
  request.processReply(message(ZelMsg::Notification, fake::map({})));

  request.waitReply();

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcSeverity(), 2);
  EXPECT_EQ(request.appExcMessage(), "ZelRequest::waitReply() - unknown message type");
  EXPECT_THAT(framework.messages(), testing::ElementsAre("ERROR: got unknown message type 2"));
}

TEST_F(ZelRequestTest, AMissingReplyIsAnExceptionOfSeverityTwo) {
  request.waitReply();

  ASSERT_TRUE(request.isAppExc());
  EXPECT_EQ(request.appExcSeverity(), 2);
  EXPECT_EQ(request.appExcMessage(), "ZelRequest::waitReply() - no reply data");
  EXPECT_THAT(framework.messages(), testing::ElementsAre("ERROR: no reply data"));
  EXPECT_EQ(framework.trace().back().unit, "ZELREQ");
}

TEST_F(ZelRequestTest, AOneWayRequestNeverMissesItsReply) {
  TestRequest oneWay(true);

  oneWay.waitReply();

  EXPECT_FALSE(oneWay.isAppExc());
  EXPECT_TRUE(framework.messages().empty());
}

TEST_F(ZelRequestTest, AOneWayRequestNeverInterpretsAReply) {
  TestRequest oneWay(true);
  oneWay.processReply(exception(1, "ignored"));

  oneWay.waitReply();

  EXPECT_FALSE(oneWay.isAppExc());
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelRequestTest, AReplyBodyThatIsNoMapIsABadCast) {
  request.processReply(message(ZelMsg::Reply, fake::integer(1)));
  EXPECT_THROW(request.waitReply(), std::bad_cast);

  request.processReply(new ZelMsg(99, ZelMsg::Reply, nullptr));
  EXPECT_THROW(request.waitReply(), std::bad_cast);
}

// So the client's warning about an invalid reply is never traced: nothing leads to it.
TEST_F(ZelRequestTest, EveryRequesterHandleIsTrusted) {
  EXPECT_TRUE(ZelRequest::isValidRequest(&request));
  EXPECT_TRUE(ZelRequest::isValidRequest(nullptr));
}

}  // namespace
