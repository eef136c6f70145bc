#include "zelutil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_framework.h"

using testing::ElementsAre;

namespace {

class ZelUtilTest : public testing::Test {
 protected:
  void SetUp() override { framework.reset(); }

  fake::Framework& framework = fake::Framework::get();
};

TEST_F(ZelUtilTest, ATextIsWrittenWhateverTheMask) {
  zelWriteToTrace("from elsewhere");

  ASSERT_EQ(framework.trace().size(), 1U);
  EXPECT_EQ(framework.trace().front().text, "from elsewhere");
  EXPECT_EQ(framework.trace().front().unit, "ZELUTIL");
}

TEST_F(ZelUtilTest, TheTextIsItselfTheFormat) {
  zelWriteToTrace("100 %% done");

  EXPECT_THAT(framework.messages(), ElementsAre("100 % done"));
}

TEST_F(ZelUtilTest, EntryAndExitAreTracedInTheFlowClass) {
  framework.setMask("ZELUTIL", kRas1Flow);

  zelWriteToTrace("text");

  std::vector<std::string> texts;
  for (const fake::TraceRecord& record : framework.trace()) {
    texts.push_back(record.text);
  }
  EXPECT_THAT(texts, ElementsAre("entry", "text", "exit"));
}

}  // namespace
