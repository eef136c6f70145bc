#include "http/api/rows_body.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_agent.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;
using State = ReportSample::State;

std::shared_ptr<const TableInfo> memoryTable() {
  return makeTable("JVM_MEMORY", {{"ORIGINNODE", ColumnType::Chars, 0, 32},
                                  {"POOL", ColumnType::Utf8, 0, 32},
                                  {"USED", ColumnType::Int64, 0, 8},
                                  {"COUNT", ColumnType::Int32, 0, 4},
                                  {"FLAG", ColumnType::Int16, 0, 2}});
}

ReportSample fresh(std::string subnode) {
  ReportSample sample;
  sample.subnode = std::move(subnode);
  sample.state = State::Fresh;
  sample.age = 12ms;
  sample.duration = 3ms;
  sample.takenAt = std::chrono::system_clock::time_point{1'767'323'045'007ms};
  return sample;
}

std::string text(RowsBody& body) {
  std::string out;
  while (body.next(out)) {
  }
  return out;
}

TEST(RowsBodyTest, WritesTypedValuesByColumn) {
  ReportResult result = ResultBuilder(memoryTable())
                            .sample(fresh("node-a"), {{"node-a", "Eden \xE2\x82\xAC \"x\"",
                                                       std::int64_t{9'007'199'254'740'993},
                                                       std::int64_t{-1}, std::monostate{}}})
                            .build();
  RowsBody body(std::move(result), 1000);

  const std::string written = text(body);

  EXPECT_NE(written.find("\"rows\":[\n"
                         "{\"sample\":0,\"values\":{\"ORIGINNODE\":\"node-a\","
                         "\"POOL\":\"Eden \xE2\x82\xAC \\\"x\\\"\",\"USED\":9007199254740993,"
                         "\"COUNT\":-1,\"FLAG\":null}}\n]}\n"),
            std::string::npos)
      << written;
}

TEST(RowsBodyTest, TellsEachSamplesStateAgeAndError) {
  ReportSample stale = fresh("node-b");
  stale.state = State::Stale;
  stale.age = 5000ms;
  stale.error = "The collector is slow.";
  ReportSample failed;
  failed.subnode = "node-c";
  failed.error = "The collector failed.";
  RowsBody body(ResultBuilder(memoryTable())
                    .sample(fresh("node-a"), {})
                    .sample(stale, {{"node-b", "Eden", std::int64_t{1}}})
                    .sample(failed, {})
                    .build(),
                1000);

  const auto json = nlohmann::json::parse(text(body));

  ASSERT_EQ(json["samples"].size(), 3u);
  EXPECT_EQ(json["samples"][0]["subnode"], "node-a");
  EXPECT_EQ(json["samples"][0]["state"], "fresh");
  EXPECT_EQ(json["samples"][0]["stale"], false);
  EXPECT_EQ(json["samples"][0]["age_ms"], 12);
  EXPECT_EQ(json["samples"][0]["duration_ms"], 3);
  EXPECT_EQ(json["samples"][0]["taken_at"], "2026-01-02T03:04:05.007Z");
  EXPECT_EQ(json["samples"][0]["error"], nullptr);
  EXPECT_EQ(json["samples"][1]["stale"], true);
  EXPECT_EQ(json["samples"][1]["age_ms"], 5000);
  EXPECT_EQ(json["samples"][1]["error"], "The collector is slow.");
  EXPECT_EQ(json["samples"][2]["state"], "failed");
  EXPECT_EQ(json["samples"][2]["age_ms"], nullptr);
  EXPECT_EQ(json["samples"][2]["taken_at"], nullptr);
  EXPECT_EQ(json["rows"][0]["sample"], 1);
}

TEST(RowsBodyTest, NamesTheTableItsColumnsAndTheCounts) {
  ReportResult result = ResultBuilder(memoryTable()).sample(fresh(""), {{"a"}, {"b"}}).build();
  result.matched = 7;
  RowsBody body(std::move(result), 2);

  const auto json = nlohmann::json::parse(text(body));

  EXPECT_EQ(json["table"], "JVM_MEMORY");
  EXPECT_EQ(json["columns"][2], (nlohmann::json{{"name", "USED"}, {"type", "int64"}}));
  EXPECT_EQ(json["samples"][0]["subnode"], nullptr);
  EXPECT_EQ(json["matched"], 7);
  EXPECT_EQ(json["returned"], 2);
  EXPECT_EQ(json["limit"], 2);
  EXPECT_EQ(json["truncated"], true);
}

TEST(RowsBodyTest, WritesAnEmptyListWithoutRows) {
  RowsBody body(ResultBuilder(memoryTable()).sample(fresh("a"), {}).build(), 1000);

  const auto json = nlohmann::json::parse(text(body));

  EXPECT_TRUE(json["rows"].empty());
  EXPECT_EQ(json["truncated"], false);
}

TEST(RowsBodyTest, WritesManyRowsInBoundedPieces) {
  const std::vector<std::vector<Value>> rows(
      20'000, {"node-a", std::string(20, 'x'), std::int64_t{1}, std::int64_t{2}, std::int64_t{3}});
  RowsBody body(ResultBuilder(memoryTable()).sample(fresh("node-a"), rows).build(), 100'000);
  EXPECT_FALSE(body.isSmall());

  std::string all;
  std::string piece;
  std::size_t longest = 0;
  while (body.next(piece)) {
    longest = std::max(longest, piece.size());
    all += piece;
    piece.clear();
  }

  EXPECT_LT(longest, 40'000u);
  EXPECT_EQ(nlohmann::json::parse(all)["rows"].size(), 20'000u);
}

}  // namespace
}  // namespace fw::http
