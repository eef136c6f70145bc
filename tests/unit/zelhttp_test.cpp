#include "zelhttp.h"

#include <gmock/gmock.h>

#include <functional>

#include "agentfw/pfm1.h"
#include "support/http_service_fixture.h"
#include "support/trace_view.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ZelHttpTest : public HttpServiceTest {};

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

TEST_F(ZelHttpTest, AnUnknownExceptionIsNeitherAnsweredNorEndsTheProcess) {
  framework.onCall["KDH1_ActivityOptions"] = [] { throw 1; };

  EXPECT_EQ(serve("GET"), kFailed);

  EXPECT_TRUE(framework.hasMessage("ERROR: unknown exception"));
  EXPECT_THAT(framework.callsOf("KDH1_Response"), IsEmpty());
}

struct KnownException {
  std::function<void()> raise;
  const char* message;
};

const KnownException kKnownExceptions[] = {
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

TEST_F(ZelHttpTest, KnownExceptionsAreTracedAndAnsweredAsFailures) {
  for (const auto& [raise, message] : kKnownExceptions) {
    framework.onCall["KDH1_ActivityOptions"] = raise;

    EXPECT_EQ(serve("GET"), kFailed);

    EXPECT_TRUE(framework.hasMessage(message)) << message;
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  }
}

TEST_F(ZelHttpTest, AnExceptionWhileTheRequestIsBuiltIsAnsweredAsAFailureWithoutContent) {
  for (const auto& [raise, message] : kKnownExceptions) {
    framework.onCall["KDH1_OpenEntity"] = raise;

    EXPECT_EQ(serve("POST"), kFailed);

    EXPECT_TRUE(framework.hasMessage(message)) << message;
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  }
  EXPECT_THAT(framework.callsOf("KDH1_CreateEntity"), IsEmpty());
  EXPECT_THAT(framework.callsOf("KDH1_Put"), IsEmpty());
  EXPECT_THAT(bridge.sent(), IsEmpty());
}

TEST_F(ZelHttpTest, AnExceptionWhileTheApplicationIsAskedIsAnsweredAsAFailure) {
  for (const auto& [raise, message] : kKnownExceptions) {
    bridge.onSent[5] = [raise = raise](const fake::Sent&) { raise(); };

    EXPECT_EQ(serve("GET"), kFailed);

    EXPECT_TRUE(framework.hasMessage(message)) << message;
    EXPECT_EQ(framework.calls().back(), "KDH1_Response(8, 2085388325, 0, 0)");
  }
}

TEST_F(ZelHttpTest, EntryAndResultAreTracedInTheFlowClassOnly) {
  framework.setAllMasks(fake::allBut(kRas1Flow));
  serve("GET");
  EXPECT_THAT(fake::flowOf("ZELHTTP"), IsEmpty());

  framework.setAllMasks(0);
  framework.setMask("ZELHTTP", kRas1Flow);
  serve("GET");
  EXPECT_THAT(fake::flowOf("ZELHTTP"),
              ElementsAre("zelDefaultHttpService entry", "zelSendHttpResponse entry",
                          "zelSendHttpResponse exit 0", "zelDefaultHttpService exit 0"));
}

TEST_F(ZelHttpTest, AFailuresStatusStandsInTheExitEvent) {
  framework.setMask("ZELHTTP", kRas1Flow);
  bridge.exceptions[5] = {3, "no page"};

  serve("GET");
  EXPECT_THAT(fake::flowOf("ZELHTTP"), Contains("zelDefaultHttpService exit 2085388325"));
}

TEST_F(ZelHttpTest, AnUnansweredRequestsStatusStandsInTheExitEvent) {
  framework.setMask("ZELHTTP", kRas1Flow);
  framework.onCall["KDH1_ActivityOptions"] = [] { throw 1; };
  serve("GET");
  EXPECT_THAT(fake::flowOf("ZELHTTP"),
              ElementsAre("zelDefaultHttpService entry", "zelDefaultHttpService exit 2085388325"));
}

}  // namespace
