// Thousands of malformed messages from Java, in a real JVM. A campaign sets ZEL_ATTACK_MESSAGES and
// ZEL_ATTACK_SEED.

#include <gmock/gmock.h>

#include "jvm/agent_environment.h"
#include "jvm/command.h"
#include "support/campaign.h"
#include "zelagent.h"

namespace {

constexpr int kBatch = 500;

TEST(FloodJvmTest, MalformedMessagesAreTracedAndTheNextGoodOneIsAnswered) {
  const long count = campaignNumber("ZEL_ATTACK_MESSAGES", 5000);
  long seed = campaignNumber("ZEL_ATTACK_SEED", 20260101);

  for (long sent = 0; sent < count; sent += kBatch, ++seed) {
    Command flood("flood", value<long long>(seed), value<int>(kBatch));
    ZelClient::run(flood, false);
    ASSERT_FALSE(flood.isAppExc()) << "seed " << seed;
    ASSERT_NE(flood.result, nullptr) << "seed " << seed;
    ASSERT_EQ(flood.result->toInt(), kBatch);
    EXPECT_GT(fake::Framework::get().trace().size(), kBatch / 4U) << "too few were malformed";
    fake::Framework::get().forgetRecordsExcept("Message handler ");
  }

  EXPECT_FALSE(ZelAgent::isShutdown(0));
  Command echo("echo", value<std::string>("still here"));
  ZelClient::run(echo, false);
  ASSERT_NE(echo.result, nullptr);
  EXPECT_EQ(echo.result->toString(), "still here");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new AgentEnvironment);
  return RUN_ALL_TESTS();
}
