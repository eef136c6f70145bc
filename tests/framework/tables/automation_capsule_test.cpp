#include <gtest/gtest.h>

#include <string>

#include "agentfw/vuira.h"
#include "basic/utf8.h"
#include "support/test_table.h"
#include "tables/capsule_state.h"
#include "tables/request_detail.h"
#include "tables/status.h"

namespace fw {
namespace {

/// A request object that notes how often a command of it was completed.
class CountingRequest final : public vuira {
 public:
  using vuira::vuira;
  int CommandCompleted(VuiraAutomationCapsule* capsule) override {
    ++completed;
    return vuira::CommandCompleted(capsule);
  }
  int completed = 0;
};

class AutomationCapsuleTest : public testing::Test {
 protected:
  AutomationCapsuleTest() {
    capsule.owner = &object;
    CapsuleState::of(capsule).onItsWay = true;
  }

  /// The message that arrives when the agent sets this one.
  std::string arriving(std::string message) {
    CapsuleState::of(capsule).onItsWay = true;
    capsule.SetMessage(message.data());
    EXPECT_EQ(object.FinishedAutomationCommand(&capsule), 0);
    return CapsuleState::of(capsule).completion->message;
  }

  test::TestTable table{"T", {}};
  RequestDetail detail;
  ContextInfo context;
  CountingRequest object{&detail, &context, &table};
  VuiraAutomationCapsule capsule;
};

TEST_F(AutomationCapsuleTest, ACompletedCommandHasItsReturnCodeAndMessage) {
  char message[] = "done";
  capsule.SetMessage(message);
  message[0] = 'g';
  capsule.rowOrReturnCode = -4;

  EXPECT_EQ(object.FinishedAutomationCommand(&capsule), 0);

  const auto& completion = CapsuleState::of(capsule).completion;
  ASSERT_TRUE(completion);
  EXPECT_EQ(completion->returnCode, -4);
  EXPECT_EQ(completion->message, "done") << "the text is copied";
  EXPECT_EQ(object.completed, 1) << "through the object's own operation";
}

TEST_F(AutomationCapsuleTest, ACommandIsCompletedOnce) {
  ASSERT_EQ(object.FinishedAutomationCommand(&capsule), 0);

  capsule.rowOrReturnCode = 9;

  EXPECT_EQ(object.FinishedAutomationCommand(&capsule), kRcNotAvailable);
  EXPECT_EQ(object.vuira::CommandCompleted(&capsule), kRcNotAvailable);
  EXPECT_EQ(object.completed, 1);
  EXPECT_EQ(CapsuleState::of(capsule).completion->returnCode, 0);
}

TEST_F(AutomationCapsuleTest, OnlyTheOwnerCompletesACommand) {
  CountingRequest other(&detail, &context, &table);

  EXPECT_EQ(other.FinishedAutomationCommand(&capsule), kRcNotAvailable);
  EXPECT_EQ(object.FinishedAutomationCommand(nullptr), kRcNotAvailable);

  EXPECT_EQ(other.completed, 0);
  EXPECT_FALSE(CapsuleState::of(capsule).completion);
}

TEST_F(AutomationCapsuleTest, ACommandWithoutMessageHasTheEmptyText) {
  capsule.SetMessage(nullptr);

  EXPECT_EQ(object.FinishedAutomationCommand(&capsule), 0);

  EXPECT_EQ(CapsuleState::of(capsule).completion->message, "");
}

TEST_F(AutomationCapsuleTest, TheMessageIsMadeValidUtf8) {
  EXPECT_EQ(arriving("gr\xC3\xBC\xC3\x9F\x65 \xED\xA0\xBD\xED\xB8\x80"),
            "gr\xC3\xBC\xC3\x9F\x65 \xF0\x9F\x98\x80");
  EXPECT_TRUE(isValidUtf8(arriving("bad \xFF\xED\xA0\xBD")));
}

TEST_F(AutomationCapsuleTest, ALongMessageIsCutBetweenCharacters) {
  const std::string full(CapsuleState::kMaxMessage, 'm');
  const std::string almost(CapsuleState::kMaxMessage - 1, 'm');

  EXPECT_EQ(arriving(full + "m"), full);
  EXPECT_EQ(arriving(almost + "\xC3\xBC"), almost);
}

}  // namespace
}  // namespace fw
