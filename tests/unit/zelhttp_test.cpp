#include "zelhttp.h"

#include <gmock/gmock.h>

#include <cstring>

#include "agentfw/pfm1.h"

#include "support/library_fixture.h"
#include "zelreqwebservice.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ZelHttpTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    bridge.replies[5] = fake::map(
        {{7, fake::integer(200)}, {8, fake::integer(2)}, {9, fake::bytes("<p>hello</p>")}});
  }

  int serve(const char* method, const std::string& path = "/page", const char* query = "a=b") {
    KDH1_header headers[] = {
        {KDH1_HDR_LANGUAGE, "de", 2},
        {KDH1_HDR_QUERY, query, static_cast<std::uint32_t>(std::strlen(query))},
        {KDH1_HDR_METHOD, method, static_cast<std::uint32_t>(std::strlen(method))},
    };
    const std::string buffer = path + "TRAILING";  // the path is not terminated
    KDH1_request_struct request{8, buffer.data(), static_cast<std::uint32_t>(path.size()), headers,
                                3};
    return zelDefaultHttpService(&request, nullptr);
  }

  static constexpr int kFailed = 0x7C4C8025;
};

TEST_F(ZelHttpTest, AGetIsAnsweredWithTheApplicationsMediaAndContent) {
  EXPECT_EQ(serve("GET"), 0);

  EXPECT_EQ(bridge.sentOf(5)[0].body(), R"({0: "/page", 1: "a=b", 2: "de"})");
  EXPECT_THAT(
      framework.calls(),
      ElementsAre("KDH1_ActivityOptions(8, 4, read)", "KDH1_ActivityOptions(8, 4, 3)",
                  "KDH1_Response(8, 0, 0, 0)", "KDH1_CreateEntity(8, 2, 12)", "KDH1_Put(8, 12)"));
  EXPECT_EQ(framework.response, "<p>hello</p>");
}

TEST_F(ZelHttpTest, OnlyTheTwoLowestActivityOptionsAreSet) {
  framework.activityOptions = 0x14;

  serve("GET");

  EXPECT_EQ(framework.activityOptions, 0x17u);
}

TEST_F(ZelHttpTest, EveryMethodButPostIsHandledAsAGet) {
  for (const char* method : {"HEAD", "PUT", "DELETE", "post", ""}) {
    bridge.reset();
    EXPECT_EQ(serve(method), kFailed);  // an empty reply lacks its keys
    EXPECT_EQ(bridge.sentOf(5)[0].body(), R"({0: "/page", 1: "a=b", 2: "de"})") << method;
  }
}

TEST_F(ZelHttpTest, APostSendsItsContent) {
  framework.content = std::string("x\0y", 3);

  EXPECT_EQ(serve("POST"), 0);

  EXPECT_EQ(bridge.sentOf(5)[0].body(),
            R"({0: "/page", 1: ")" + framework.content + R"(", 2: "de"})");
  EXPECT_THAT(framework.calls(), Contains("KDH1_Get(8, 3)"));
}

TEST_F(ZelHttpTest, APostWithoutContentSendsAnEmptyTextAndReadsNothing) {
  EXPECT_EQ(serve("POST"), 0);

  EXPECT_EQ(bridge.sentOf(5)[0].body(), R"({0: "/page", 1: "", 2: "de"})");
  EXPECT_THAT(framework.callsOf("KDH1_Get"), IsEmpty());
}

TEST_F(ZelHttpTest, APostWhoseContentCannotBeReadIsAnsweredWithTheCodeAndNotAsked) {
  framework.content = "abc";
  for (const char* operation : {"KDH1_OpenEntity", "KDH1_Get"}) {
    framework.rc = {{operation, 77}};

    EXPECT_EQ(serve("POST"), 77);

    EXPECT_TRUE(framework.hasMessage(std::string("ERROR: ") + operation + " failed (rc=77)"));
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 77, 0, 0)");
  }
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelHttpTest, AFrameworkExceptionWhileReadingContentIsAnsweredAsAFailure) {
  framework.content = "abc";
  framework.throwing = {"KDH1_Get"};

  EXPECT_EQ(serve("POST"), kFailed);

  EXPECT_TRUE(framework.hasMessage("ERROR: caught PXM exception. Error 35. Signal 11"));
  EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelHttpTest, TheApplicationsHttpCodeDoesNotBecomeTheStatus) {
  bridge.replies[5] =
      fake::map({{7, fake::integer(404)}, {8, fake::integer(1)}, {9, fake::bytes("none")}});

  EXPECT_EQ(serve("GET"), 0);

  EXPECT_THAT(framework.calls(), Contains("KDH1_Response(8, 0, 0, 0)"));
  EXPECT_EQ(framework.response, "none");
}

TEST_F(ZelHttpTest, AnApplicationExceptionIsAFailureWithoutContent) {
  bridge.exceptions[5] = {3, "no page"};

  EXPECT_EQ(serve("GET"), kFailed);

  EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
}

TEST_F(ZelHttpTest, KnownExceptionsAreTracedAndAnsweredAsFailures) {
  const struct {
    std::function<void()> action;
    const char* message;
  } cases[] = {
      {[] {
         throw ZelAppException{3, "app"};
       },
       "ERROR: request processing failed ...\napp"},
      {[] { throw ZelException("x.cpp", 9, 1); }, "ERROR: internal exception in x.cpp at line 9"},
      {[] { throw std::runtime_error("std"); }, "ERROR: STD C++ library exception [std]"},
      {[] {
         *PFM1_Thread() = {1, 2};
         throw agentfw::Exception();
       },
       "ERROR: caught PXM exception. Error 1. Signal 2"},
  };
  for (const auto& [action, message] : cases) {
    framework.onCall["KDH1_ActivityOptions"] = action;

    EXPECT_EQ(serve("GET"), kFailed);

    EXPECT_TRUE(framework.hasMessage(message)) << message;
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  }
}

TEST_F(ZelHttpTest, AnUnknownExceptionIsNeitherAnsweredNorEndsTheProcess) {
  framework.onCall["KDH1_ActivityOptions"] = [] { throw 1; };

  EXPECT_EQ(serve("GET"), kFailed);

  EXPECT_TRUE(framework.hasMessage("ERROR: unknown exception"));
  EXPECT_THAT(framework.callsOf("KDH1_Response"), IsEmpty());
}

TEST_F(ZelHttpTest, EachFailingStepOfAResponseIsTracedAndReturned) {
  for (const char* operation : {"KDH1_Response", "KDH1_CreateEntity", "KDH1_Put"}) {
    framework.rc = {{operation, 12}};

    EXPECT_EQ(zelSendHttpResponse(8, 0, 1, "x", 1), 12);

    EXPECT_EQ(framework.messages().back(), std::string("ERROR: ") + operation + " failed (rc=12)");
    EXPECT_EQ(framework.calls().back().rfind(operation, 0), 0u) << "no step follows";
  }
}

TEST_F(ZelHttpTest, AFailureStatusGoesWithoutContentAndIsReturned) {
  EXPECT_EQ(zelSendHttpResponse(8, 5, 1, "x", 1), 5);

  EXPECT_THAT(framework.calls(), ElementsAre("KDH1_Response(8, 5, 0, 0)"));
}

TEST_F(ZelHttpTest, AFrameworkExceptionWhileSendingIsAFailure) {
  framework.throwing = {"KDH1_Put"};

  EXPECT_EQ(zelSendHttpResponse(8, 0, 1, "x", 1), kFailed);

  EXPECT_TRUE(framework.hasMessage("ERROR: caught PXM exception. Error 35. Signal 11"));
}

TEST_F(ZelHttpTest, ContentThatCannotBeReadLeavesNoBuffer) {
  framework.content = "abc";
  framework.rc = {{"KDH1_Get", 4}};
  char marker = 'x';
  char* data = &marker;
  unsigned int length = 9;

  EXPECT_EQ(zelGetHttpData(8, &data, &length), 4);

  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(length, 0u);
}

TEST_F(ZelHttpTest, DetailsOfARequestAreTracedInTheDetailClassOnly) {
  serve("GET");
  EXPECT_THAT(framework.messages(), Not(Contains("Path: /page")));

  framework.setMask("ZELREQWEBSERVICE", kRas1Detail);
  serve("GET");

  for (const char* message : {"Processing GET request", "HTTP header 22: de", "HTTP header 50: GET",
                              "HTTP header 48: a=b", "Path: /page", "Query: a=b", "Lang: de",
                              "HTTP Code: 200", "HTTP Media: 2"}) {
    EXPECT_THAT(framework.messages(), Contains(message));
  }
  const auto trace = framework.trace();
  const auto dump = std::find_if(trace.begin(), trace.end(), [](const auto& record) {
    return record.kind == fake::TraceRecord::Dump;
  });
  ASSERT_NE(dump, trace.end());
  EXPECT_EQ(dump->text, "HTTP Data");
  EXPECT_EQ(dump->data, "<p>hello</p>");

  serve("POST");
  EXPECT_THAT(framework.messages(), Contains("Processing POST request"));
}

TEST_F(ZelHttpTest, AMissingHeaderIsAnEmptyText) {
  const KDH1_request_struct request{8, "/", 1, nullptr, 0};

  EXPECT_EQ(ZelReqWebService::getHeaderValue(&request, KDH1_HDR_LANGUAGE), "");
}

TEST_F(ZelHttpTest, TheThreadServesUnderAnEscapedNameAndPublishesTheRealOne) {
  EXPECT_EQ(zelHttpServerThreadFunc(nullptr), nullptr);

  EXPECT_THAT(framework.calls(),
              ElementsAre("KDH1_New(inst_fakehost_JX, 1, 0, 0)",
                          "KDH1_PublishService(42, 0, 0, Qrv Norvel Monitoring Agent for JX, "
                          "inst:fakehost:JX)",
                          "KDH1_Listen(42, 1)", "KDH1_Delete(42)"));
  EXPECT_THAT(framework.messages(), ElementsAre("Web Service started", "Web Service stopped"));
  EXPECT_EQ(framework.httpCallback, zelDefaultHttpService);
}

TEST_F(ZelHttpTest, TheTitleNamesTheProductsCategory) {
  const std::pair<const char*, const char*> cases[] = {
      {"QD", "Lumenray"}, {"QF", "J2EE"}, {"QM", "Web Servers"}, {"AB", "AB"}};
  for (const auto& [product, category] : cases) {
    framework.reset();
    framework.productName = product;

    zelHttpServerThreadFunc(nullptr);

    EXPECT_THAT(framework.calls(),
                Contains("KDH1_PublishService(42, 0, 0, Qrv Norvel Monitoring Agent for " +
                         std::string(category) + ", inst:fakehost:JX)"));
  }
}

TEST_F(ZelHttpTest, AFailedCreationEndsTheThreadWithoutAStopMessage) {
  framework.rc["KDH1_New"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_New failed (rc=3)"));
  EXPECT_EQ(framework.calls().size(), 1u);
}

TEST_F(ZelHttpTest, AFailedPublicationEndsTheThreadWithoutDeletingTheService) {
  framework.rc["KDH1_PublishService"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_PublishService failed (rc=3)"));
  EXPECT_THAT(framework.callsOf("KDH1_Delete"), IsEmpty());
}

TEST_F(ZelHttpTest, AFailedListenIsTracedAndTheServiceIsStillDeleted) {
  framework.rc["KDH1_Listen"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_Listen failed (rc=3)",
                          "Web Service stopped"));
  EXPECT_EQ(framework.calls().back(), "KDH1_Delete(42)");
}

TEST_F(ZelHttpTest, AFrameworkExceptionInTheThreadIsTracedAndTheServiceStops) {
  framework.throwing = {"KDH1_Listen"};

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: caught PXM exception. Error 35. Signal 11",
                          "Web Service stopped"));
}

}  // namespace
