// What the service reads from and writes to the framework: the request, its content, the response.

#include <gmock/gmock.h>

#include "support/http_service_fixture.h"
#include "support/trace_view.h"
#include "zelreqwebservice.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kFrameworkException = "ERROR: caught PXM exception. Error 35. Signal 11";

class ZelHttpContentTest : public HttpServiceTest {
 protected:
  static constexpr KDH1_request_struct kBare{8, "/", 1, nullptr, 0};
};

TEST_F(ZelHttpContentTest, EachFailingStepOfAResponseIsTracedAndReturned) {
  for (const char* operation : {"KDH1_Response", "KDH1_CreateEntity", "KDH1_Put"}) {
    framework.rc = {{operation, 12}};

    EXPECT_EQ(zelSendHttpResponse(8, 0, 1, "x", 1), 12);

    EXPECT_EQ(framework.messages().back(), std::string("ERROR: ") + operation + " failed (rc=12)");
    EXPECT_EQ(framework.calls().back().rfind(operation, 0), 0u) << "no step follows";
  }
}

TEST_F(ZelHttpContentTest, AFailureStatusGoesWithoutContentAndIsReturned) {
  EXPECT_EQ(zelSendHttpResponse(8, 5, 1, "x", 1), 5);

  EXPECT_THAT(framework.calls(), ElementsAre("KDH1_Response(8, 5, 0, 0)"));
}

TEST_F(ZelHttpContentTest, ContentThatCannotBeReadLeavesNoBuffer) {
  framework.content = "abc";
  framework.rc = {{"KDH1_Get", 4}};
  char marker = 'x';
  char* data = &marker;
  unsigned int length = 9;

  EXPECT_EQ(zelGetHttpData(8, &data, &length), 4);

  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(length, 0u);
}

TEST_F(ZelHttpContentTest, AFrameworkExceptionWhileReadingLeavesNoBufferAndIsAnsweredAsAFailure) {
  framework.content = "abc";
  for (const char* operation : {"KDH1_OpenEntity", "KDH1_Get"}) {
    framework.throwing = {operation};
    char marker = 'x';
    char* data = &marker;
    unsigned int length = 9;

    EXPECT_EQ(zelGetHttpData(8, &data, &length), kFailed) << operation;
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(framework.messages().back(), kFrameworkException);

    EXPECT_EQ(serve("POST"), kFailed);
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  }
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelHttpContentTest, AFrameworkExceptionOfAnyStepOfAResponseIsAFailure) {
  for (const char* operation : {"KDH1_Response", "KDH1_CreateEntity", "KDH1_Put"}) {
    framework.throwing = {operation};

    EXPECT_EQ(zelSendHttpResponse(8, 0, 1, "x", 1), kFailed);

    EXPECT_EQ(framework.messages().back(), kFrameworkException);
    EXPECT_EQ(framework.calls().back().rfind(operation, 0), 0u) << "no step follows";
  }
}

TEST_F(ZelHttpContentTest, ReadAndSentContentTraceEntryAndResultInTheFlowClassOnly) {
  framework.content = "abc";
  char* data = nullptr;
  unsigned int length = 0;
  framework.setAllMasks(fake::allBut(kRas1Flow));
  zelGetHttpData(8, &data, &length);
  delete[] data;
  zelSendHttpResponse(8, 5, 1, "x", 1);
  EXPECT_THAT(fake::flowOf("ZELHTTP"), IsEmpty());

  framework.setMask("ZELHTTP", kRas1Flow);
  zelGetHttpData(8, &data, &length);
  delete[] data;
  zelSendHttpResponse(8, 5, 1, "x", 1);
  EXPECT_THAT(fake::flowOf("ZELHTTP"),
              ElementsAre("zelGetHttpData entry", "zelGetHttpData exit 0",
                          "zelSendHttpResponse entry", "zelSendHttpResponse exit 5"));
}

TEST_F(ZelHttpContentTest, DetailsOfARequestAreTracedInTheDetailClassOnly) {
  const char* const ofGet[] = {"Processing GET request",
                               "HTTP header 22: de",
                               "HTTP header 50: GET",
                               "HTTP header 48: a=b",
                               "Path: /page",
                               "Query: a=b",
                               "Lang: de",
                               "HTTP Code: 200",
                               "HTTP Media: 2"};
  const char* const ofPost[] = {"Processing POST request", "HTTP header 50: POST", "Query: xyz"};
  framework.content = "xyz";
  framework.setAllMasks(fake::allBut(kRas1Detail));
  serve("GET");
  serve("POST");
  EXPECT_THAT(framework.messages(), Not(Contains(testing::HasSubstr("Processing"))));
  EXPECT_THAT(framework.messages(), Not(Contains(testing::HasSubstr("HTTP"))));
  for (const char* message : {"Path: /page", "Query: a=b", "Query: xyz", "Lang: de"}) {
    EXPECT_FALSE(framework.hasMessage(message)) << message;
  }

  framework.setAllMasks(0);
  framework.setMask("ZELREQWEBSERVICE", kRas1Detail);
  serve("GET");
  for (const char* message : ofGet) {
    EXPECT_EQ(framework.countMessages(message), 1u) << message;
  }
  EXPECT_FALSE(framework.hasMessage("Processing POST request"));
  serve("POST");
  for (const char* message : ofPost) {
    EXPECT_EQ(framework.countMessages(message), 1u) << message;
  }
}

TEST_F(ZelHttpContentTest, TheWholeResponseIsDumpedInTheDetailClassOnly) {
  const std::string page("<p>\0\xFF</p>", 9);
  bridge.replies[5] =
      fake::map({{7, fake::integer(200)}, {8, fake::integer(2)}, {9, fake::bytes(page)}});
  framework.setAllMasks(fake::allBut(kRas1Detail));
  serve("GET");
  EXPECT_THAT(fake::dumpsOf("ZELREQWEBSERVICE"), IsEmpty());

  framework.setMask("ZELREQWEBSERVICE", kRas1Detail);
  serve("GET");
  EXPECT_THAT(fake::dumpsOf("ZELREQWEBSERVICE"), ElementsAre("HTTP Data: " + page));
}

TEST_F(ZelHttpContentTest, TheRequestTracesEntryAndExitInTheFlowClassOnly) {
  const auto reply =
      fake::map({{7, fake::integer(200)}, {8, fake::integer(2)}, {9, fake::bytes("page")}})();
  const auto exchange = [&] {
    ZelReqWebService request(&kBare);
    std::unique_ptr<ZelMsg> msg(request.createRegMsg());
    request.onReply(reply->toMap());
    return msg;
  };
  framework.setAllMasks(fake::allBut(kRas1Flow));
  exchange();
  EXPECT_THAT(fake::flowOf("ZELREQWEBSERVICE"), IsEmpty());

  framework.setMask("ZELREQWEBSERVICE", kRas1Flow);
  const auto msg = exchange();
  EXPECT_THAT(
      fake::flowOf("ZELREQWEBSERVICE"),
      ElementsAre("ZelReqWebService entry", "ZelReqWebService exit", "createRegMsg entry",
                  fake::exitOf("createRegMsg", msg.get()), "onReply entry", "onReply exit"));
}

TEST_F(ZelHttpContentTest, TheRequestIsNotOneWayAndHasCodeFive) {
  ZelReqWebService request(&kBare);
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_FALSE(request.isOneWay());
  EXPECT_EQ(msg->id, 5);
  EXPECT_EQ(msg->type, ZelMsg::Request);
}

TEST_F(ZelHttpContentTest, AMissingHeaderIsAnEmptyText) {
  framework.setMask("ZELREQWEBSERVICE", kRas1Detail);

  EXPECT_EQ(ZelReqWebService::getHeaderValue(&kBare, KDH1_HDR_LANGUAGE), "");

  EXPECT_THAT(framework.messages(), ElementsAre("HTTP header 22: "));
}

}  // namespace
