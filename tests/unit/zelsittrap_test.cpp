#include "zelsittrap.h"

#include <algorithm>
#include <stdexcept>

#include "support/table_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kSituation = 6;
constexpr int kSitStateChanged = 7;

class ZelSitTrapTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    bridge.replies[kSituation] = fake::map({{4, rowList({row(1)})}});
  }

  std::unique_ptr<ZelSitTrap> arm(RequestDetail detail) {
    return std::unique_ptr<ZelSitTrap>(
        static_cast<ZelSitTrap*>(trapManager.CreateCtira(&detail, &context)));
  }

  Tidy<ZelSitTrapManager> trapManager{"ZJX", "TRAP", newColumns()};
};

TEST_F(ZelSitTrapTest, TracesItsManagerInTheFlowClassOnly) {
  framework.setMask("ZELSITTRAP", kRas1Flow);
  { const ZelSitTrapManager traced("ZJX", "T", newColumns()); }
  EXPECT_EQ(framework.trace().size(), 4U);
  EXPECT_THAT(messages(), IsEmpty());

  framework.reset();
  { const ZelSitTrapManager quiet("ZJX", "T", newColumns()); }
  EXPECT_TRUE(framework.trace().empty());
}

TEST_F(ZelSitTrapTest, IsMadeWithTheArgumentsOfItsTable) {
  trapManager.updateAllocPeak(9);

  const std::unique_ptr<ZelSitTrap> trap = arm(situation("SIT"));

  EXPECT_EQ(trap->manager, &trapManager);
  EXPECT_EQ(trap->rowSize, 26U);
  EXPECT_EQ(trap->allocSize, 9U);
  EXPECT_EQ(trap->NumColumns(), 5);
}

TEST_F(ZelSitTrapTest, ArmsTheSituationWhenItIsMade) {
  FLT1_FILTERINFO filter{};
  filter.columnName = "COL";
  filter.compareOperator = 5;
  filter.dataType = kFlt1Text;
  filter.dataSize = 3;
  filter.value = "abc";
  RequestDetail detail = situation("SIT");
  detail.filters = {filter};
  detail.subnodes = {"node1", "node2"};
  detail.history = -1;
  detail.hasDefinition = true;
  detail.definition = "AUTO(x)";

  const std::unique_ptr<ZelSitTrap> trap = arm(detail);

  ASSERT_EQ(bridge.sentOf(kSituation).size(), 1U);
  EXPECT_EQ(bridge.sentOf(kSituation)[0].body(),
            "{0: \"TRAP\", 1: [{2: \"COL\", 3: \"abc\", 11: 5}], 5: [\"node1\", \"node2\"], "
            "6: true, 7: true, 8: \"SIT\", 9: 30, 10: true}");
}

TEST_F(ZelSitTrapTest, AnnouncesTheStartBeforeItArms) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation("SIT"));

  EXPECT_THAT(messages(),
              testing::IsSupersetOf({"Situation SIT started", "Can send start trap situation"}));
  const std::vector<std::string> texts = messages();
  EXPECT_LT(std::find(texts.begin(), texts.end(), "Situation SIT started"),
            std::find(texts.begin(), texts.end(), "Can send start trap situation"));
  EXPECT_TRUE(bridge.waitForSent(kSitStateChanged));
}

TEST_F(ZelSitTrapTest, CollectsFiltersBeforeSubnodes) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  EXPECT_THAT(framework.calls(), ElementsAre("GetFilterInfo()", "ResetGetSubnode()"));
}

TEST_F(ZelSitTrapTest, ArmsWithoutASituationNameToo) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  ASSERT_EQ(bridge.sentOf(kSituation).size(), 1U);
  EXPECT_EQ(bridge.sentOf(kSituation)[0].body(),
            "{0: \"TRAP\", 1: [], 5: [], 6: false, 7: false, 8: \"\", 9: 30, 10: true}");
  EXPECT_EQ(framework.countMessages("Can send start trap situation"), 1U);
  EXPECT_TRUE(ZelClient::s_taskQueue.empty());
}

TEST_F(ZelSitTrapTest, ConsultsNoCache) {
  trapManager.cacheSamples({row(1)}, "node", 30);
  RequestDetail detail = situation("");
  detail.subnodes = {"node", ""};

  const std::unique_ptr<ZelSitTrap> trap = arm(detail);

  EXPECT_THAT(bridge.sentOf(kSituation)[0].body(), HasSubstr("5: [\"node\"]"));
}

TEST_F(ZelSitTrapTest, IgnoresTheRowsOfTheReply) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  EXPECT_THAT(insertedInto(*trap), IsEmpty());
  EXPECT_EQ(trapManager.cache, nullptr);
}

TEST_F(ZelSitTrapTest, SendsNoStopWithDetailTracingOff) {
  framework.setMask("ZELSITTRAP", fake::allBut(kRas1Detail));

  arm(situation("")).reset();

  EXPECT_EQ(bridge.sent().size(), 1U);
  EXPECT_THAT(messages(), ElementsAre("Can send start trap situation"));
}

TEST_F(ZelSitTrapTest, DisarmsWithDetailTracingOn) {
  framework.setMask("ZELSITTRAP", kRas1Detail);
  std::ptrdiff_t before = 0;
  const auto since = [&] {
    const std::vector<std::string> all = messages();
    return std::vector<std::string>(all.begin() + before, all.end());
  };
  std::vector<std::string> atRequest;
  bridge.onSent[kSituation] = [&](const fake::Sent&) { atRequest = since(); };
  std::unique_ptr<ZelSitTrap> trap = arm(situation("SIT"));
  before = static_cast<std::ptrdiff_t>(messages().size());

  trap.reset();

  ASSERT_EQ(bridge.sentOf(kSituation).size(), 2U);
  EXPECT_THAT(bridge.sentOf(kSituation)[1].body(), HasSubstr("10: false"));
  EXPECT_THAT(atRequest, ElementsAre("Can send stop trap situation"));
  EXPECT_THAT(since(), ElementsAre("Can send stop trap situation", "Destructor. Table TRAP",
                                   "Situation SIT stopped"));
}

TEST_F(ZelSitTrapTest, AnnouncesNoEndWithoutASituationName) {
  arm(situation("")).reset();

  EXPECT_THAT(bridge.sentOf(kSitStateChanged), IsEmpty());
  EXPECT_TRUE(ZelClient::s_taskQueue.empty());
  EXPECT_FALSE(framework.hasMessage("Situation  stopped"));
}

TEST_F(ZelSitTrapTest, AnnouncesNoEndWhileTheAgentShutsDown) {
  std::unique_ptr<ZelSitTrap> trap = arm(situation("SIT"));
  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged));
  ZelAgent::s_isShutdown.store(true);

  trap.reset();

  EXPECT_FALSE(framework.hasMessage("Situation SIT stopped"));
}

TEST_F(ZelSitTrapTest, AnnouncesTheEndOfANamedSituation) {
  std::unique_ptr<ZelSitTrap> trap = arm(situation("SIT"));

  trap.reset();

  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged, 2));
  EXPECT_THAT(bridge.sentOf(kSitStateChanged)[1].body(), HasSubstr("2: 0"));
  EXPECT_TRUE(framework.hasMessage("Situation SIT stopped"));
}

TEST_F(ZelSitTrapTest, SurvivesARefusalOfTheApplication) {
  bridge.exceptions.insert({kSituation, {3, "refused"}});

  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  EXPECT_NE(trap, nullptr);
}

TEST_F(ZelSitTrapTest, ReportsABrokenReplyAndStaysAlive) {
  bridge.replies[kSituation] = fake::map({{4, fake::integer(1)}});

  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  EXPECT_NE(trap, nullptr);
  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'std::bad_cast'"));
}

TEST_F(ZelSitTrapTest, ReportsEveryKindOfException) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  framework.onCall["GetFilterInfo"] = [] { throw ZelAppException{3, "refused"}; };
  trap->Situation(true);
  EXPECT_EQ(messages().back(), "ERROR: request processing failed ...\nrefused");

  framework.onCall["GetFilterInfo"] = [] { throw ZelException("file.cpp", 12, 1); };
  trap->Situation(true);
  EXPECT_EQ(messages().back(), "ERROR: internal exception in file.cpp at line 12");

  framework.onCall["GetFilterInfo"] = [] { throw std::runtime_error("bad"); };
  trap->Situation(true);
  EXPECT_EQ(messages().back(), "ERROR: STD C++ library exception 'bad'");
}

TEST_F(ZelSitTrapTest, TracesAnArmingInTheFlowClassOnly) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));
  framework.setMask("ZELSITTRAP", fake::allBut(kRas1Flow));
  trap->Situation(true);
  EXPECT_THAT(fake::flowOf("ZELSITTRAP"), IsEmpty());

  framework.setMask("ZELSITTRAP", kRas1Flow);
  trap->Situation(true);
  EXPECT_EQ(fake::flowOf("ZELSITTRAP").front(), "Situation entry");
  EXPECT_EQ(fake::flowOf("ZELSITTRAP").back(), "Situation exit");
}

TEST_F(ZelSitTrapTest, ThrowsOutOfTheUnguardedOperation) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));
  bridge.replies[kSituation] = fake::map({});

  EXPECT_THROW(trap->doSituation(true), ZelException);
}

using ZelSitTrapDeathTest = ZelSitTrapTest;

TEST_F(ZelSitTrapDeathTest, EndsTheProcessForAnUnknownException) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  RequestDetail detail = situation("");
  framework.onCall["GetFilterInfo"] = [] { throw 5; };

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        arm(detail);
      },
      testing::ExitedWithCode(255), kUnknownExceptionText);
}

TEST_F(ZelSitTrapTest, ReceivesPushedRows) {
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));
  trapManager.requests.append(trap.get());

  EXPECT_EQ(trapManager.emitEvents({row(7)}), 0);

  EXPECT_THAT(fake::recordOf(*trap).dispatched, ElementsAre(row(7)));
}

TEST_F(ZelSitTrapTest, SamplesLikeAnyOtherRequest) {
  bridge.replies[2] = sampleReply({row(3)}, 0);
  const std::unique_ptr<ZelSitTrap> trap = arm(situation(""));

  trap->TakeSample();

  EXPECT_THAT(insertedInto(*trap), ElementsAre(row(3)));
}

}  // namespace
