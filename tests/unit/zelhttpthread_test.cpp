// The thread that publishes and serves the agent's web service.

#include <gmock/gmock.h>

#include <cerrno>

#include "support/library_fixture.h"
#include "support/pthread_calls.h"
#include "support/trace_view.h"
#include "zelhttp.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ZelHttpThreadTest : public LibraryTest {
 protected:
  void TearDown() override {
    fake::PthreadCalls::get().reset();
    LibraryTest::TearDown();
  }
};

TEST_F(ZelHttpThreadTest, TheThreadServesUnderAnEscapedNameAndPublishesTheRealOne) {
  EXPECT_EQ(zelHttpServerThreadFunc(nullptr), nullptr);

  EXPECT_THAT(framework.calls(),
              ElementsAre("KDH1_New(inst_fakehost_JX, 1, 0, 0)",
                          "KDH1_PublishService(42, 0, 0, Qrv Norvel Monitoring Agent for JX, "
                          "inst:fakehost:JX)",
                          "KDH1_Listen(42, 1)", "KDH1_Delete(42)"));
  EXPECT_THAT(framework.messages(), ElementsAre("Web Service started", "Web Service stopped"));
  EXPECT_EQ(framework.httpCallback, zelDefaultHttpService);
}

TEST_F(ZelHttpThreadTest, TheTitleNamesTheProductsCategory) {
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

TEST_F(ZelHttpThreadTest, AFailedCreationEndsTheThreadWithoutAStopMessage) {
  framework.rc["KDH1_New"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_New failed (rc=3)"));
  EXPECT_EQ(framework.calls().size(), 1u);
}

TEST_F(ZelHttpThreadTest, AFailedPublicationEndsTheThreadWithoutDeletingTheService) {
  framework.rc["KDH1_PublishService"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_PublishService failed (rc=3)"));
  EXPECT_THAT(framework.callsOf("KDH1_Delete"), IsEmpty());
}

TEST_F(ZelHttpThreadTest, AFailedListenIsTracedAndTheServiceIsStillDeleted) {
  framework.rc["KDH1_Listen"] = 3;

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: KDH1_Listen failed (rc=3)",
                          "Web Service stopped"));
  EXPECT_EQ(framework.calls().back(), "KDH1_Delete(42)");
}

TEST_F(ZelHttpThreadTest, AFrameworkExceptionInTheThreadIsTracedAndTheServiceStops) {
  framework.throwing = {"KDH1_Listen"};

  zelHttpServerThreadFunc(nullptr);

  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: caught PXM exception. Error 35. Signal 11",
                          "Web Service stopped"));
}

TEST_F(ZelHttpThreadTest, AFrameworkExceptionOfAnyStepIsTracedAndTheServiceStops) {
  for (const char* operation : {"KDH1_New", "KDH1_PublishService", "KDH1_Listen", "KDH1_Delete"}) {
    framework.reset();
    framework.throwing = {operation};

    zelHttpServerThreadFunc(nullptr);

    EXPECT_THAT(
        framework.messages(),
        ElementsAre("Web Service started", "ERROR: caught PXM exception. Error 35. Signal 11",
                    "Web Service stopped"))
        << operation;
  }
}

TEST_F(ZelHttpThreadTest, AnyOtherKnownExceptionIsReportedWithoutAStopMessage) {
  framework.onCall["KDH1_Listen"] = [] { throw std::runtime_error("std"); };
  zelHttpServerThreadFunc(nullptr);
  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: STD C++ library exception 'std'"));

  framework.reset();
  framework.onCall["KDH1_Listen"] = [] { throw ZelException("x.cpp", 9, 1); };
  zelHttpServerThreadFunc(nullptr);
  EXPECT_THAT(framework.messages(),
              ElementsAre("Web Service started", "ERROR: internal exception in x.cpp at line 9"));
}

TEST_F(ZelHttpThreadTest, StartingReturnsTheResultOfTheThreadsCreation) {
  framework.setMask("ZELHTTP", kRas1Flow);

  EXPECT_EQ(zelStartHttpServer(), 0);
  pthread_join(s_httpServerThread, nullptr);  // so it was not detached

  EXPECT_THAT(framework.messages(), ElementsAre("Web Service started", "Web Service stopped"));
  EXPECT_THAT(fake::flowOf("ZELHTTP"), Contains("zelStartHttpServer exit 0"));
}

TEST_F(ZelHttpThreadTest, AThreadThatCannotBeStartedIsOnlyAResult) {
  framework.setMask("ZELHTTP", kRas1Flow);
  fake::PthreadCalls::get().createResult.store(EAGAIN);

  EXPECT_EQ(zelStartHttpServer(), EAGAIN);

  EXPECT_THAT(framework.messages(), IsEmpty());
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
  EXPECT_THAT(fake::flowOf("ZELHTTP"),
              ElementsAre("zelStartHttpServer entry", "zelStartHttpServer exit 11"));
}

}  // namespace
