#include "agentfw/vuira.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "basic/handle_table.h"
#include "support/test_table.h"
#include "tables/request_detail.h"
#include "tables/status.h"
#include "tables/vuira_state.h"

namespace fw {
namespace {

using test::TestRequest;
using test::TestTable;

class VuiraTest : public testing::Test {
 protected:
  VuiraTest() { detail.rowLimit = 1000; }

  TestRequest& open() {
    request.emplace(&detail, &context, table);
    return *request;
  }

  std::string rowOf(std::int64_t number, const std::string& name) {
    return table.row({number, std::int64_t{1}, std::int64_t{2}, name});
  }

  TestTable table{"T", test::packed({{"NUMBER", ColumnType::Int32, 0, 4},
                                     {"SHORT", ColumnType::Int16, 0, 2},
                                     {"LONG", ColumnType::Int64, 0, 8},
                                     {"NAME", ColumnType::Chars, 0, 8}})};
  RequestDetail detail;
  ContextInfo context;
  std::optional<TestRequest> request;
};

TEST_F(VuiraTest, CarriesWhatTheRequestSays) {
  detail.situation = std::string(70, 's');
  detail.definition = "AUTO(x)";
  detail.interval = 30;
  detail.sampleType = 2;
  detail.requestId = 9;
  context.node = "agent:host:JX";

  vuira& object = open();

  EXPECT_EQ(object.manager, &table);
  EXPECT_EQ(std::string(object.situationName), std::string(63, 's'));
  EXPECT_STREQ(object.definition, "AUTO(x)");
  EXPECT_EQ(object.interval, 30U);
  EXPECT_EQ(object.sampleType, 2);
  EXPECT_EQ(object.requestId, 9U);
  EXPECT_STREQ(object.nodeText, "agent:host:JX");
}

TEST_F(VuiraTest, HasNoDefinitionUnlessTheRequestGivesOne) {
  EXPECT_EQ(open().definition, nullptr);
}

TEST_F(VuiraTest, OnlyAHistoryRequestSaysThatItIsOne) {
  EXPECT_EQ(open().IsHistoryRequest(), 0);

  detail.kind = RequestKind::History;

  EXPECT_GT(open().IsHistoryRequest(), 0);
}

TEST_F(VuiraTest, TheRowBufferGrowsGeometricallyFromTheFirstAllocation) {
  vuira& object = open();
  object.allocSize = 3;
  std::vector<std::uint32_t> sizes;

  for (int i = 0; i < 13; ++i) {
    std::string row = rowOf(i, "row");
    ASSERT_EQ(object.InsertRow(row.data()), 0);
    sizes.push_back(object.rowsAllocated);
  }

  EXPECT_EQ(sizes, (std::vector<std::uint32_t>{3, 3, 3, 6, 6, 6, 12, 12, 12, 12, 12, 12, 24}));
  EXPECT_EQ(object.rowCount, 13U);
  for (int i = 0; i < 13; ++i) {
    EXPECT_EQ(
        std::string(object.rowBuffer + object.rowSize * static_cast<unsigned>(i), object.rowSize),
        rowOf(i, "row"));
  }
}

TEST_F(VuiraTest, ARowBeyondTheLimitIsAnErrorAndIsCounted) {
  detail.rowLimit = 2;
  vuira& object = open();
  std::string row = rowOf(1, "row");

  EXPECT_EQ(object.InsertRow(row.data()), 0);
  EXPECT_EQ(object.InsertRow(row.data()), 0);
  EXPECT_EQ(object.InsertRow(row.data()), kRcRowLimit);
  EXPECT_EQ(object.InsertRow(row.data()), kRcRowLimit);

  EXPECT_EQ(object.rowCount, 2U);
  EXPECT_EQ(object.rowsAllocated, 2U);
  EXPECT_EQ(VuiraState::of(object).rowsLost, 2U);
}

TEST_F(VuiraTest, RefusesARowWithoutARowSize) {
  vuira& object = open();
  object.rowSize = 0;
  std::string row = rowOf(1, "row");

  EXPECT_EQ(object.InsertRow(row.data()), kRcNoRowSize);
  EXPECT_EQ(object.InsertRow(nullptr), kRcBadArgument);
}

TEST_F(VuiraTest, TheFrameworkTakesTheRowsAndTheNextSampleStartsEmpty) {
  vuira& object = open();
  std::string row = rowOf(7, "seven");
  object.InsertRow(row.data());

  const RowBlock rows = VuiraState::takeRows(object);

  ASSERT_EQ(rows.rowCount(), 1U);
  EXPECT_EQ(std::string(rows.row(0), rows.rowSize()), row);
  EXPECT_EQ(object.rowCount, 0U);
  EXPECT_EQ(object.rowBuffer, nullptr);
  EXPECT_EQ(object.InsertRow(row.data()), 0);
}

TEST_F(VuiraTest, StepsThroughSubnodesUntilNull) {
  detail.subnodes = {"one", "two"};
  vuira& object = open();

  EXPECT_STREQ(object.GetSubnode(), "one");
  EXPECT_STREQ(object.GetSubnode(), "two");
  EXPECT_EQ(object.GetSubnode(), nullptr);
  EXPECT_EQ(object.GetSubnode(), nullptr);
  object.ResetGetSubnode();
  EXPECT_STREQ(object.GetSubnode(), "one");
}

TEST_F(VuiraTest, FiltersRewindAfterTheirEndAndBeforeACallback) {
  detail.filters = {{"NAME", kFlt1Text, "abc"}, {"NUMBER", kFlt1Int32, std::string("\7\0\0\0", 4)}};
  TestRequest& object = open();
  const FLT1_FILTERINFO* filter = nullptr;

  EXPECT_EQ(object.filters().size(), 2U);
  ASSERT_EQ(object.GetFilterInfo(&filter), 0);
  EXPECT_STREQ(filter->columnName, "NAME");
  EXPECT_EQ(filter->dataType, kFlt1Text);
  EXPECT_EQ(filter->dataSize, 3);
  EXPECT_EQ(filter->compareOperator, kIntfEqual);
  VuiraState::beginCallback(object);
  ASSERT_EQ(object.GetFilterInfo(&filter), 0);
  EXPECT_STREQ(filter->columnName, "NAME");
  ASSERT_EQ(object.GetFilterInfo(&filter), 0);
  EXPECT_STREQ(filter->columnName, "NUMBER");
  EXPECT_EQ(std::memcmp(filter->value, "\7\0\0\0", 4), 0);
}

TEST_F(VuiraTest, ARequestWithoutFiltersHasAnEndOnly) {
  const FLT1_FILTERINFO* filter = nullptr;

  EXPECT_EQ(open().GetFilterInfo(&filter), 0);
  EXPECT_EQ(filter, nullptr);
}

TEST_F(VuiraTest, EveryRowPassesWithoutThresholds) {
  std::string row = rowOf(1, "row");

  EXPECT_NE(open().CheckForException(row.data()), 0);
}

TEST_F(VuiraTest, TheObjectDecidesSmallNumbersAndTheFrameworkTheRest) {
  detail.thresholds = {Condition(table.columns[0], kIntfGreater, std::int64_t{5}),
                       Condition(table.columns[1], kIntfEqual, std::int64_t{1}),
                       Condition(table.columns[2], kIntfLess, std::int64_t{3}),
                       Condition(table.columns[3], kIntfEqual, std::string("good"))};
  vuira& object = open();
  std::string good = rowOf(6, "good");
  std::string bad = rowOf(6, "bad");
  std::string low = rowOf(5, "good");

  EXPECT_NE(object.CheckForException(good.data()), 0);
  EXPECT_EQ(table.asked, 2);
  EXPECT_EQ(object.CheckForException(bad.data()), 0);
  EXPECT_EQ(table.asked, 4);
  EXPECT_EQ(object.CheckForException(low.data()), 0);
  EXPECT_EQ(table.asked, 5) << "the first condition that does not hold ends it";
}

TEST_F(VuiraTest, ACellWithoutValuePassesNoThresholdAndIsNotAsked) {
  detail.thresholds = {Condition(table.columns[0], kIntfLess, std::int64_t{5})};
  std::string row = table.row({Value(), Value(), Value(), std::string()});

  EXPECT_EQ(open().CheckForException(row.data()), 0);
  EXPECT_EQ(table.asked, 0);
}

TEST_F(VuiraTest, ComparesNumbersWithBinaryThresholds) {
  vuira& object = open();
  char threshold[5] = {};
  const std::int32_t wide = -70000;
  std::memcpy(threshold, &wide, sizeof wide);
  EXPECT_EQ(object.IsException(kIntfLess, -70001L, threshold), 1);
  EXPECT_EQ(object.IsException(kIntfLess, -70000L, threshold), 0);

  const std::int16_t narrow = -7;
  std::memcpy(threshold, &narrow, sizeof narrow);
  EXPECT_EQ(object.IsException(kIntfGreaterOrEqual, std::int16_t{-7}, threshold), 1);
  EXPECT_EQ(object.IsException(static_cast<_IntfOper>(0), std::int16_t{-7}, threshold), 0);
}

TEST_F(VuiraTest, FindsAColumnByName) {
  ColumnInfo column{};
  char known[] = "SHORT";
  char unknown[] = "NONE";

  EXPECT_EQ(open().GetColumnInfoByName(&column, known), 0);
  EXPECT_EQ(column.offset, 4);
  EXPECT_EQ(open().GetColumnInfoByName(&column, unknown), kRcNoColumn);
}

TEST_F(VuiraTest, UsesOfItsHandleAreCountedOnly) {
  vuira& object = open();
  const RES1_Handle handle = object.handle;

  EXPECT_NE(handle, 0U);
  EXPECT_EQ(object.UseHandle(handle), 0);
  EXPECT_EQ(HandleTable::instance().uses(handle), 1U);
  EXPECT_EQ(RES1_Drop(handle), 0);
  EXPECT_NE(RES1_Drop(handle), 0);
  request.reset();
  EXPECT_EQ(HandleTable::instance().uses(handle), std::nullopt);
}

class KeepingSink final : public RowSink {
 public:
  void take(RowBlock pushed, std::uint64_t lostRows) override {
    rows.push_back(std::move(pushed));
    lost.push_back(lostRows);
  }

  std::vector<RowBlock> rows;
  std::vector<std::uint64_t> lost;
};

TEST_F(VuiraTest, ADispatchMovesTheRowsToTheSinkOfASubscription) {
  const auto sink = std::make_shared<KeepingSink>();
  detail.kind = RequestKind::Subscription;
  detail.sink = sink;
  detail.rowLimit = 2;
  vuira& object = open();
  std::string row = rowOf(7, "seven");
  for (int i = 0; i < 3; ++i) {
    object.InsertRow(row.data());
  }

  EXPECT_EQ(object.Dispatch(), 0);
  EXPECT_EQ(object.rowBuffer, nullptr);
  EXPECT_EQ(object.rowCount, 0U);
  EXPECT_EQ(object.Dispatch(), 0);

  ASSERT_EQ(sink->rows.size(), 2U);
  ASSERT_EQ(sink->rows[0].rowCount(), 2U);
  EXPECT_EQ(std::string(sink->rows[0].row(1), sink->rows[0].rowSize()), row);
  EXPECT_EQ(sink->rows[1].rowCount(), 0U);
  EXPECT_EQ(sink->lost, (std::vector<std::uint64_t>{1, 0})) << "a loss is told once";
}

TEST_F(VuiraTest, ASinkWithoutMemoryIsAnErrorCode) {
  class FullSink final : public RowSink {
   public:
    void take(RowBlock /*rows*/, std::uint64_t /*lost*/) override { throw std::bad_alloc(); }
  };
  detail.sink = std::make_shared<FullSink>();

  EXPECT_EQ(open().Dispatch(), kRcNoMemory);
}

TEST_F(VuiraTest, OperationsThatAreNotOfferedGiveAnErrorCode) {
  vuira& object = open();
  VuiraAutomationCapsule capsule;
  char text[] = "text";
  capsule.SetMessage(text);
  capsule.SetMessage(nullptr);

  EXPECT_EQ(object.Dispatch(), kRcNotAvailable);
  EXPECT_EQ(object.FinishedAutomationCommand(&capsule), kRcNotAvailable);
  EXPECT_EQ(object.ExecuteCommand(text, 1, text), kRcNotAvailable);
  EXPECT_EQ(object.CommandCompleted(&capsule), kRcNotAvailable);
}

TEST(TableManagerTest, CutsLongNamesAtACharacter) {
  const std::string name = std::string(62, 'n') + "ü";
  const TestTable table(name.c_str(), {});

  EXPECT_EQ(std::string(table.tableName), std::string(62, 'n'));
  EXPECT_EQ(std::string(table.applicationId), "TST");
}

TEST(TableManagerTest, CannotRegisterWithoutAFramework) {
  TestTable table("T", {});

  EXPECT_EQ(table.RegisterWithManager(), static_cast<unsigned>(kRcNotAvailable));
}

}  // namespace
}  // namespace fw
