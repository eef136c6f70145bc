#include "zelreqsitstate.h"

#include "support/library_fixture.h"
#include "support/trace_view.h"

namespace {

class ZelReqSitStateChangedTest : public LibraryTest {
 protected:
  static std::string bodyOf(ZelReqSitStateChanged& request) {
    const std::unique_ptr<ZelMsg> msg(request.createRegMsg());
    return fake::describe(msg->body.get());
  }

  ZelReqSitStateChanged request{"SIT", true, false, true, "TAB", 30};
};

TEST_F(ZelReqSitStateChangedTest, GoesOneWayAsNotification7) {
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_TRUE(request.isOneWay());
  EXPECT_EQ(msg->id, 7);
  EXPECT_EQ(msg->type, 2);
}

TEST_F(ZelReqSitStateChangedTest, SendsTheStartedFlagAsAnInteger) {
  EXPECT_EQ(bodyOf(request), "{0: \"SIT\", 1: \"TAB\", 2: 1, 3: 30, 4: false, 5: true}");
}

TEST_F(ZelReqSitStateChangedTest, SendsZeroWhenTheSituationStopped) {
  ZelReqSitStateChanged stopped("SIT", false, true, false, "TAB", 4'000'000'000U);

  EXPECT_EQ(bodyOf(stopped), "{0: \"SIT\", 1: \"TAB\", 2: 0, 3: -294967296, 4: true, 5: false}");
}

TEST_F(ZelReqSitStateChangedTest, HandsItsBodyOverOnce) {
  bodyOf(request);

  const std::unique_ptr<ZelMsg> second(request.createRegMsg());

  EXPECT_EQ(second->body, nullptr);
}

TEST_F(ZelReqSitStateChangedTest, IgnoresAnyReply) {
  EXPECT_NO_THROW(request.onReply(fake::map({})()->toMap()));
}

TEST_F(ZelReqSitStateChangedTest, TravelsWithoutARequester) {
  ZelClient::run(request, false);

  ASSERT_TRUE(bridge.waitForSent(7));
  EXPECT_EQ(bridge.sentOf(7)[0].type, 2);
  EXPECT_FALSE(bridge.sentOf(7)[0].requester.has_value());
}

TEST_F(ZelReqSitStateChangedTest, TracesEntryAndExitInTheFlowClass) {
  framework.setMask("ZELREQSITSTATE", kRas1Flow);

  ZelReqSitStateChanged traced("SIT", true, false, true, "TAB", 30);
  const std::unique_ptr<ZelMsg> msg(traced.createRegMsg());

  EXPECT_EQ(
      fake::flowOf("ZELREQSITSTATE"),
      (std::vector<std::string>{"ZelReqSitStateChanged entry", "ZelReqSitStateChanged exit",
                                "createRegMsg entry", fake::exitOf("createRegMsg", msg.get())}));
}

TEST_F(ZelReqSitStateChangedTest, TracesNothingWithoutTheFlowClass) {
  framework.setAllMasks(fake::allBut(kRas1Flow));

  ZelReqSitStateChanged quiet("SIT", true, false, true, "TAB", 30);
  bodyOf(quiet);
  quiet.onReply(fake::map({})()->toMap());

  EXPECT_TRUE(framework.trace().empty());
}

}  // namespace
