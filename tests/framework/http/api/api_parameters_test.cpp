#include "http/api/api_parameters.h"

#include <gtest/gtest.h>

namespace fw::http {
namespace {

const std::vector<ParameterRule> kKnown = {
    {.name = "subnode"}, {.name = "where"}, limitParameter()};

TEST(ApiParametersTest, TakesKnownParametersOnce) {
  EXPECT_FALSE(checkParameters({}, kKnown));
  EXPECT_FALSE(checkParameters({{"limit", "1"}, {"where", ""}}, kKnown));
}

TEST(ApiParametersTest, NamesAnUnknownParameterAndTheNearest) {
  const auto problem = checkParameters({{"limits", "1"}}, kKnown);

  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->kind, "unknown-parameter");
  EXPECT_EQ(problem->detail,
            "There is no parameter \"limits\" here; this address takes subnode, where and limit.");
  ASSERT_EQ(problem->extras.size(), 2u);
  EXPECT_EQ(std::get<std::string>(problem->extras[0].second), "limits");
  EXPECT_EQ(std::get<std::string>(problem->extras[1].second), "limit");
}

TEST(ApiParametersTest, SaysWhenAnAddressTakesNone) {
  const auto problem = checkParameters({{"a", "1"}}, {});

  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->detail, "There is no parameter \"a\" here; this address takes none.");
}

TEST(ApiParametersTest, RefusesARepeatedParameterEvenWithTheSameValue) {
  const auto problem = checkParameters({{"limit", "1"}, {"limit", "1"}}, kKnown);

  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->status, 400);
  EXPECT_EQ(problem->kind, "repeated-parameter");
}

TEST(ApiParametersTest, TakesAnEmptyValueAsNone) {
  EXPECT_EQ(findParameter({{"where", ""}}, "where"), std::nullopt);
  EXPECT_EQ(findParameter({{"where", "A"}}, "where"), "A");
  EXPECT_EQ(findParameter({}, "where"), std::nullopt);
}

TEST(ApiParametersTest, TakesNumbersInTheirRangeOnly) {
  for (const char* text : {"1", "100000", "00017"}) {
    EXPECT_FALSE(checkParameters({{"limit", text}}, kKnown)) << text;
  }
  for (const char* text :
       {"0", "100001", "-1", "+1", " 1", "1 ", "1e3", "0x10", "1.0", "x", "99999999999999999999"}) {
    const auto problem = checkParameters({{"limit", text}}, kKnown);
    ASSERT_TRUE(problem) << text;
    EXPECT_EQ(problem->status, 400);
    EXPECT_NE(problem->detail.find("from 1 to 100000"), std::string::npos);
  }
}

TEST(ApiParametersTest, ReadsTheLimitOrItsDefault) {
  EXPECT_EQ(findLimit({{"limit", "00017"}}), 17u);
  EXPECT_EQ(findLimit({{"limit", ""}}), kDefaultLimit);
  EXPECT_EQ(findLimit({}), kDefaultLimit);
}

TEST(ApiParametersTest, AsksTheCheckOfAParameterAboutValuesThatAreGiven) {
  const std::vector<ParameterRule> rules = {{.name = "kind", .check = [](const std::string& value) {
                                               return value == "good"
                                                          ? std::nullopt
                                                          : std::optional(badRequest(value));
                                             }}};

  EXPECT_FALSE(checkParameters({{"kind", "good"}}, rules));
  EXPECT_FALSE(checkParameters({{"kind", ""}}, rules));
  ASSERT_TRUE(checkParameters({{"kind", "bad"}}, rules));
  EXPECT_EQ(checkParameters({{"kind", "bad"}}, rules)->detail, "bad");
}

TEST(ApiParametersTest, TakesAParameterAsOftenAsItsRuleSays) {
  const std::vector<ParameterRule> rules = {{.name = "kind", .times = 3}};

  EXPECT_FALSE(checkParameters(std::vector<Parameter>(3, {"kind", "a"}), rules));
  const auto problem = checkParameters(std::vector<Parameter>(4, {"kind", "a"}), rules);
  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->kind, "out-of-range");
  EXPECT_NE(problem->detail.find("more than 3 times"), std::string::npos);
}

}  // namespace
}  // namespace fw::http
