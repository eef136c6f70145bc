#include "http/api/stream_request.h"

#include <gtest/gtest.h>

namespace fw::http {
namespace {

StreamRequest parsed(const std::vector<Parameter>& parameters, const std::string& header = "") {
  EXPECT_FALSE(checkParameters(parameters, streamParameters()));
  auto result = parseStreamRequest(parameters, header);
  EXPECT_TRUE(std::holds_alternative<StreamRequest>(result));
  return std::get<StreamRequest>(std::move(result));
}

Problem problem(const std::vector<Parameter>& parameters, const std::string& header = "") {
  if (auto refused = checkParameters(parameters, streamParameters())) {
    return *std::move(refused);
  }
  auto result = parseStreamRequest(parameters, header);
  EXPECT_TRUE(std::holds_alternative<Problem>(result));
  return std::get<Problem>(std::move(result));
}

TEST(StreamRequestTest, TakesFiltersAndBeginsNow) {
  const StreamRequest request =
      parsed({{"kind", "event"}, {"table", "A"}, {"kind", "action"}, {"table", ""}});

  EXPECT_EQ(request.filter.kinds, (std::vector<std::string>{"event", "action"}));
  EXPECT_EQ(request.filter.tables, (std::vector<std::string>{"A"}));
  EXPECT_FALSE(request.after);
}

TEST(StreamRequestTest, TakesAPositionFromTheHeaderBeforeTheAddress) {
  EXPECT_EQ(parsed({{"after", "7-3"}}).after->number, 3u);
  EXPECT_EQ(parsed({{"after", "7-3"}}, "7-12").after->number, 12u);
  EXPECT_EQ(parsed({{"after", "7-3"}}, "7-12").after->epoch, 7u);
}

TEST(StreamRequestTest, RefusesAPositionThatIsNone) {
  const Problem inAddress = problem({{"after", "12"}});
  const Problem inHeader = problem({}, "a-b");

  EXPECT_EQ(inAddress.status, 400);
  EXPECT_EQ(inAddress.kind, "bad-position");
  EXPECT_NE(inAddress.detail.find("\"12\" in after"), std::string::npos);
  EXPECT_NE(inHeader.detail.find("\"a-b\" in Last-Event-ID"), std::string::npos);
}

TEST(StreamRequestTest, ProposesAKindForAnUnknownOne) {
  const Problem unknown = problem({{"kind", "events"}});

  EXPECT_EQ(unknown.kind, "unknown-kind");
  EXPECT_EQ(std::get<std::string>(unknown.extras[1].second), "event");
}

TEST(StreamRequestTest, BoundsTheFilters) {
  EXPECT_EQ(problem(std::vector<Parameter>(65, {"kind", "event"})).kind, "out-of-range");
  EXPECT_EQ(problem(std::vector<Parameter>(65, {"table", "A"})).kind, "out-of-range");
}

}  // namespace
}  // namespace fw::http
