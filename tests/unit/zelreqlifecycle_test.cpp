// The two requests without a body: start and shutdown.

#include <gmock/gmock.h>

#include "support/library_fixture.h"
#include "support/trace_view.h"
#include "zelreqshutdown.h"
#include "zelreqstart.h"

namespace {

class ZelReqLifecycleTest : public LibraryTest {};

TEST_F(ZelReqLifecycleTest, StartIsANotificationOfCodeOneWithoutBody) {
  ZelReqStart request;

  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_TRUE(request.isOneWay());
  EXPECT_EQ(msg->id, 1);
  EXPECT_EQ(msg->type, ZelMsg::Notification);
  EXPECT_EQ(msg->body, nullptr);
}

TEST_F(ZelReqLifecycleTest, ShutdownIsARequestOfCodeFourWithoutBody) {
  ZelReqShutdown request;

  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_FALSE(request.isOneWay());
  EXPECT_EQ(msg->id, 4);
  EXPECT_EQ(msg->type, ZelMsg::Request);
  EXPECT_EQ(msg->body, nullptr);
}

TEST_F(ZelReqLifecycleTest, TheirRepliesAreIgnored) {
  const ZelMap nothing;

  EXPECT_NO_THROW(ZelReqStart().onReply(nothing));
  EXPECT_NO_THROW(ZelReqShutdown().onReply(nothing));
}

TEST_F(ZelReqLifecycleTest, EntryAndExitWithTheMessageAreTracedInTheFlowClassOnly) {
  framework.setAllMasks(fake::allBut(kRas1Flow));
  std::unique_ptr<ZelMsg> start(ZelReqStart().createRegMsg());
  std::unique_ptr<ZelMsg> shutdown(ZelReqShutdown().createRegMsg());
  EXPECT_TRUE(framework.trace().empty());

  framework.setAllMasks(kRas1Flow);
  start.reset(ZelReqStart().createRegMsg());
  shutdown.reset(ZelReqShutdown().createRegMsg());
  EXPECT_THAT(
      fake::flowOf("ZELREQSTART"),
      testing::ElementsAre("createRegMsg entry", fake::exitOf("createRegMsg", start.get())));
  EXPECT_THAT(
      fake::flowOf("ZELREQSHUTDOWN"),
      testing::ElementsAre("createRegMsg entry", fake::exitOf("createRegMsg", shutdown.get())));
}

}  // namespace
