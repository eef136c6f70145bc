#include "zelira.h"

#include <cstring>
#include <thread>

#include "support/table_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kTakeSample = 2;
constexpr int kSitStateChanged = 7;

class ZelIraTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    bridge.replies[kTakeSample] = sampleReply({}, 0);
  }

  /// A filter COL = `filterValue`, a literal.
  FLT1_FILTERINFO filter(const char* filterValue) {
    FLT1_FILTERINFO made{};
    made.columnName = "COL";
    made.compareOperator = 1;
    made.dataType = kFlt1Text;
    made.dataSize = static_cast<std::int16_t>(std::strlen(filterValue));
    made.value = filterValue;
    return made;
  }

  std::string lastSampleBody() { return bridge.sentOf(kTakeSample).back().body(); }
};

TEST_F(ZelIraTest, TracesItsTableInTheDetailClassOnly) {
  framework.setMask("ZELIRA", kRas1Detail);
  open(sampleOf({}));
  EXPECT_THAT(messages(), ElementsAre("Table TAB"));

  framework.reset();
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));
  open(sampleOf({}));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraTest, AnnouncesNothingForAPlainSample) {
  open(sampleOf({"node"}));

  EXPECT_EQ(bridge.clientsCreated(), 0U);
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraTest, AnnouncesTheStartAndTheEndOfASituation) {
  RequestDetail detail = situation("SIT");
  detail.hasDefinition = true;
  detail.definition = "x AUTO( y";
  std::unique_ptr<ZelIra> request = open(detail);
  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged));
  EXPECT_EQ(bridge.sentOf(kSitStateChanged)[0].body(),
            "{0: \"SIT\", 1: \"TAB\", 2: 1, 3: 30, 4: false, 5: true}");
  EXPECT_TRUE(framework.hasMessage("Situation SIT started"));
  EXPECT_FALSE(framework.hasMessage("Situation SIT stopped"));

  request.reset();

  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged, 2));
  EXPECT_EQ(bridge.sentOf(kSitStateChanged)[1].body(),
            "{0: \"SIT\", 1: \"TAB\", 2: 0, 3: 30, 4: false, 5: true}");
  EXPECT_TRUE(framework.hasMessage("Situation SIT stopped"));
}

TEST_F(ZelIraTest, LeavesAStateChangeToTheMessageHandlerThread) {
  std::thread::id sender;
  bridge.onSent[kSitStateChanged] = [&](const fake::Sent&) { sender = std::this_thread::get_id(); };

  const std::unique_ptr<ZelIra> request = open(situation("SIT"));

  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged));
  EXPECT_TRUE(fake::endClients());
  EXPECT_NE(sender, std::this_thread::get_id());
}

TEST_F(ZelIraTest, AnnouncesNoEndWhileTheAgentShutsDown) {
  std::unique_ptr<ZelIra> request = open(situation("SIT"));
  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged));
  ZelAgent::s_isShutdown.store(true);

  request.reset();

  EXPECT_FALSE(framework.hasMessage("Situation SIT stopped"));
  EXPECT_TRUE(ZelClient::s_taskQueue.empty());
}

TEST_F(ZelIraTest, TellsAStateChangeOfAnyHistoryType) {
  for (const int history : {-1, 1}) {
    RequestDetail detail = situation("SIT");
    detail.history = history;
    open(detail);
  }

  ASSERT_TRUE(bridge.waitForSent(kSitStateChanged, 4));
  for (const fake::Sent& message : bridge.sentOf(kSitStateChanged)) {
    EXPECT_THAT(message.body(), HasSubstr("4: true"));
  }
}

TEST_F(ZelIraTest, TracesAStateChangeEvenIfItCanNotBeSent) {
  bridge.failCreation = true;

  const std::unique_ptr<ZelIra> request = open(situation("SIT"));

  EXPECT_THAT(messages(),
              ElementsAre("ERROR: STD C++ library exception 'no client'", "Situation SIT started"));
}

TEST_F(ZelIraTest, SamplesAllSubnodesWithoutACache) {
  RequestDetail detail = sampleOf({"node1", "node2"});
  detail.filters = {filter("abc"), filter("de")};
  detail.situationName = "";
  const std::unique_ptr<ZelIra> request = open(detail);
  bridge.replies[kTakeSample] = sampleReply({row(1), row(2)}, 0);

  request->TakeSample();

  EXPECT_EQ(lastSampleBody(),
            "{0: \"TAB\", 1: [{2: \"COL\", 3: \"abc\"}, {2: \"COL\", 3: \"de\"}], "
            "5: [\"node1\", \"node2\"], 6: false, 7: false, 8: \"\"}");
  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1), row(2)));
  EXPECT_THAT(framework.calls(), ElementsAre("ResetGetSubnode()", "GetFilterInfo()",
                                             "GetFilterInfo()", "GetFilterInfo()"));
  EXPECT_EQ(manager.allocPeak.load(), 2U);
}

TEST_F(ZelIraTest, TracesASampleInTheFlowClassOnly) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  framework.setMask("ZELIRA", fake::allBut(kRas1Flow));
  request->TakeSample();
  EXPECT_THAT(fake::flowOf("ZELIRA"), IsEmpty());

  framework.setMask("ZELIRA", kRas1Flow);
  request->TakeSample();
  EXPECT_EQ(fake::flowOf("ZELIRA").front(), "TakeSample entry");
  EXPECT_EQ(fake::flowOf("ZELIRA").back(), "TakeSample exit");
}

TEST_F(ZelIraTest, SamplesAgainFromTheFirstSubnodeAndFilter) {
  RequestDetail detail = sampleOf({"node"});
  detail.filters = {filter("abc")};
  const std::unique_ptr<ZelIra> request = open(detail);

  request->TakeSample();
  request->TakeSample();

  ASSERT_EQ(bridge.sentOf(kTakeSample).size(), 2U);
  EXPECT_EQ(bridge.sentOf(kTakeSample)[0].body(), bridge.sentOf(kTakeSample)[1].body());
}

TEST_F(ZelIraTest, EndsTheSubnodesAtAnEmptyName) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node1", "", "node2"}));

  request->TakeSample();

  EXPECT_THAT(lastSampleBody(), HasSubstr("5: [\"node1\"]"));
}

TEST_F(ZelIraTest, EndsTheFiltersAtAnError) {
  RequestDetail detail = sampleOf({"node"});
  detail.filters = {filter("abc")};
  const std::unique_ptr<ZelIra> request = open(detail);
  framework.rc["GetFilterInfo"] = 4;

  request->TakeSample();

  EXPECT_THAT(lastSampleBody(), HasSubstr("1: []"));
}

TEST_F(ZelIraTest, SendsTheAutomationFlagForADefinitionThatContainsIt) {
  const struct {
    bool hasDefinition;
    const char* definition;
    const char* flag;
  } cases[] = {
      {false, "", "7: false"},       {true, "", "7: false"},         {true, "AUTO", "7: false"},
      {true, "auto(x)", "7: false"}, {true, "a AUTO(b)", "7: true"},
  };
  for (const auto& entry : cases) {
    RequestDetail detail = sampleOf({"node"});
    detail.hasDefinition = entry.hasDefinition;
    detail.definition = entry.definition;

    open(detail)->TakeSample();

    EXPECT_THAT(lastSampleBody(), HasSubstr(entry.flag)) << entry.definition;
  }
}

TEST_F(ZelIraTest, SamplesHistoryOnlyForAPositiveType) {
  RequestDetail detail = sampleOf({"node"});
  detail.history = -1;
  open(detail)->TakeSample();
  EXPECT_THAT(lastSampleBody(), HasSubstr("6: false"));

  detail.history = 1;
  open(detail)->TakeSample();
  EXPECT_THAT(lastSampleBody(), HasSubstr("6: true"));
}

TEST_F(ZelIraTest, NamesTheSituationInTheSample) {
  const std::unique_ptr<ZelIra> request = open(situation("SIT"));

  request->TakeSample();

  EXPECT_THAT(lastSampleBody(), HasSubstr("8: \"SIT\""));
}

TEST_F(ZelIraTest, ServesCachedRowsAndAsksForTheOtherSubnodes) {
  framework.setMask("ZELIRA", kRas1Detail);
  manager.cacheSamples({row(1), row(2)}, "node1", 30);
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node1", "node2"}));
  bridge.replies[kTakeSample] = sampleReply({row(3)}, 0);

  request->TakeSample();

  EXPECT_TRUE(framework.hasMessage("Returning 2 cached samples for TAB@node1"));
  EXPECT_THAT(lastSampleBody(), HasSubstr("5: [\"node2\"]"));
  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1), row(2), row(3)));
}

TEST_F(ZelIraTest, TracesCachedSamplesInTheDetailClassOnly) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));
  manager.cacheSamples({row(1)}, "node", 30);

  open(sampleOf({"node"}))->TakeSample();

  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraTest, AsksWithNoSubnodesWhenTheCacheServesAll) {
  manager.cacheSamples({row(1)}, "node", 30);
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  bridge.replies[kTakeSample] = sampleReply({row(2)}, 60);

  request->TakeSample();

  EXPECT_THAT(lastSampleBody(), HasSubstr("5: []"));
  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1), row(2)));
  EXPECT_THAT(*manager.getCachedSamples("node"), ElementsAre(row(1)));
}

TEST_F(ZelIraTest, CachesTheWholeReplyUnderEveryPendingSubnode) {
  manager.cacheSamples({row(9)}, "cached", 30);
  bridge.replies[kTakeSample] = sampleReply({row(1), row(2)}, 60);

  open(sampleOf({"node1", "cached", "node2"}))->TakeSample();

  EXPECT_THAT(*manager.getCachedSamples("node1"), ElementsAre(row(1), row(2)));
  EXPECT_THAT(*manager.getCachedSamples("node2"), ElementsAre(row(1), row(2)));
  EXPECT_THAT(*manager.getCachedSamples("cached"), ElementsAre(row(9)));
  EXPECT_EQ(manager.cache->at("node1")->expiry, s_now + 60);
}

TEST_F(ZelIraTest, DeletesPendingRowsForAReplyThatIsNotToBeCached) {
  RequestDetail history = sampleOf({"node"});
  history.history = 1;
  manager.cacheSamples({row(1)}, "node", 30);
  manager.cacheSamples({row(1)}, "other", 30);

  open(history)->TakeSample();

  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);
  EXPECT_NE(manager.getCachedSamples("other"), nullptr);
}

TEST_F(ZelIraTest, NeverReadsTheCacheForHistoryButWritesIt) {
  RequestDetail history = sampleOf({"node"});
  history.history = 1;
  manager.cacheSamples({row(1)}, "node", 30);
  const std::unique_ptr<ZelIra> request = open(history);
  bridge.replies[kTakeSample] = sampleReply({row(2)}, 60);

  request->TakeSample();

  EXPECT_THAT(lastSampleBody(), HasSubstr("5: [\"node\"]"));
  EXPECT_THAT(insertedInto(*request), ElementsAre(row(2)));
  EXPECT_THAT(*manager.getCachedSamples("node"), ElementsAre(row(2)));
}

TEST_F(ZelIraTest, LeavesRowsAndCacheAloneWhenTheApplicationRefuses) {
  RequestDetail history = sampleOf({"node"});
  history.history = 1;
  manager.cacheSamples({row(1)}, "node", 30);
  const std::unique_ptr<ZelIra> request = open(history);
  bridge.exceptions.insert({kTakeSample, {3, "refused"}});

  request->TakeSample();

  EXPECT_THAT(insertedInto(*request), IsEmpty());
  EXPECT_THAT(*manager.getCachedSamples("node"), ElementsAre(row(1)));
}

TEST_F(ZelIraTest, ReportsABrokenReplyAndInsertsNothing) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  bridge.replies[kTakeSample] = fake::map({{4, rowList({row(1)})}, {10, fake::text("no number")}});

  request->TakeSample();

  EXPECT_THAT(messages(), ElementsAre("ERROR: STD C++ library exception 'std::bad_cast'"));
  EXPECT_THAT(insertedInto(*request), IsEmpty());
}

TEST_F(ZelIraTest, ReportsAReplyWithoutRows) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  bridge.replies[kTakeSample] = fake::map({{10, fake::integer(0)}});

  request->TakeSample();

  EXPECT_THAT(messages().back(),
              testing::StartsWith("ERROR: internal exception in zelcoll.cpp at line "));
}

TEST_F(ZelIraTest, SurvivesACriticalExceptionThatEndsTheClient) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  bridge.exceptions.insert({kTakeSample, {1, "out of memory"}});

  request->TakeSample();

  EXPECT_EQ(FakeTransport::current(), nullptr);
  EXPECT_TRUE(framework.hasMessage("FATAL: Agent terminated with the critical Java exception."));
  EXPECT_THAT(insertedInto(*request), IsEmpty());
}

TEST_F(ZelIraTest, PrintsItselfAfterASampleInDetailAndSummary) {
  framework.setMask("ZELIRA", kRas1Detail | kRas1Summary);
  bridge.replies[kTakeSample] = sampleReply({row(1)}, 0);

  open(sampleOf({"node"}))->TakeSample();

  EXPECT_TRUE(framework.hasMessage("\t\tcount=1, allocated=1, allocSize=1\n"));
}

TEST_F(ZelIraTest, DoesNotPrintItselfAfterASampleInTheSummaryClassAlone) {
  framework.setMask("ZELIRA", kRas1Summary);

  open(sampleOf({"node"}))->TakeSample();

  EXPECT_THAT(framework.callsOf("DumpThresholds"), IsEmpty());
}

using ZelIraDeathTest = ZelIraTest;

TEST_F(ZelIraDeathTest, EndsTheProcessForAnUnknownExceptionWhileSampling) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::unique_ptr<ZelIra> request = open(sampleOf({"node"}));
  framework.onCall["ResetGetSubnode"] = [] { throw 5; };

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        request->TakeSample();
      },
      testing::ExitedWithCode(255), kUnknownExceptionText);
}

}  // namespace
