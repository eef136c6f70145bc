// The two requests without a body: start and shutdown.

#include <gmock/gmock.h>

#include "support/library_fixture.h"
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

TEST_F(ZelReqLifecycleTest, EntryAndExitAreTracedInTheFlowClass) {
  framework.setAllMasks(kRas1Flow);
  const std::unique_ptr<ZelMsg> start(ZelReqStart().createRegMsg());
  const std::unique_ptr<ZelMsg> shutdown(ZelReqShutdown().createRegMsg());

  const auto trace = framework.trace();
  ASSERT_EQ(trace.size(), 4u);
  EXPECT_EQ(trace[0].unit + " " + trace[0].text, "ZELREQSTART entry");
  EXPECT_EQ(trace[2].unit + " " + trace[2].text, "ZELREQSHUTDOWN entry");
  EXPECT_EQ(trace[3].text.rfind("exit 0x", 0), 0u);
}

}  // namespace
