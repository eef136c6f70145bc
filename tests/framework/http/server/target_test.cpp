#include "http/server/target.h"

#include <gtest/gtest.h>

namespace fw::http {
namespace {

TEST(TargetTest, TakesPathAndQueryApart) {
  Target target;

  const auto error = parseTarget("/api/v1/tables/A%2FB/rows?where=A+%3E+1&limit=5&flag", target);

  ASSERT_FALSE(error) << *error;
  EXPECT_EQ(target.path, "/api/v1/tables/A%2FB/rows");
  EXPECT_EQ(target.segments, (std::vector<std::string>{"api", "v1", "tables", "A/B", "rows"}));
  ASSERT_EQ(target.parameters.size(), 3u);
  EXPECT_EQ(target.parameters[0].name, "where");
  EXPECT_EQ(target.parameters[0].value, "A > 1");
  EXPECT_EQ(target.parameters[1].value, "5");
  EXPECT_EQ(target.parameters[2].name, "flag");
  EXPECT_EQ(target.parameters[2].value, "");
}

TEST(TargetTest, KeepsAPlusInAPathAndUtf8InBothParts) {
  Target target;

  const auto error = parseTarget("/a+b/%C3%A9?n%C3%A9=%E2%82%AC", target);

  ASSERT_FALSE(error) << *error;
  EXPECT_EQ(target.segments, (std::vector<std::string>{"a+b", "\xC3\xA9"}));
  EXPECT_EQ(target.parameters[0].name, "n\xC3\xA9");
  EXPECT_EQ(target.parameters[0].value, "\xE2\x82\xAC");
}

TEST(TargetTest, TellsAnEmptySegmentFromNone) {
  Target target;

  ASSERT_FALSE(parseTarget("/api/", target));

  EXPECT_EQ(target.segments, (std::vector<std::string>{"api", ""}));
}

TEST(TargetTest, RefusesWhatIsNotWellFormed) {
  const char* const bad[] = {
      "",        "*",       "http://127.0.0.1/", "/%",         "/%4",           "/%zz",
      "/%00",    "/%C3",    "/%C3/%A9",          "/%ED%A0%80", "/%F5%80%80%80", "/?a=%",
      "/?%00=1", "/?a=%FF", "/?a=%C0%AF",
  };
  for (const char* text : bad) {
    Target target;
    EXPECT_TRUE(parseTarget(text, target)) << text;
  }
}

TEST(TargetTest, TakesAnAbsoluteTargetApart) {
  const struct {
    const char* raw;
    const char* authority;
    const char* rest;
  } cases[] = {
      {"http://127.0.0.1:8790/a/b?c=d", "127.0.0.1:8790", "/a/b?c=d"},
      {"HTTP://localhost:8790", "localhost:8790", "/"},
      {"http://[::1]:8790?a=b", "[::1]:8790", "/?a=b"},
      {"http:///a", "", "/a"},
      {"http://", "", "/"},
  };
  for (const auto& each : cases) {
    const auto target = splitAbsoluteTarget(each.raw);
    ASSERT_TRUE(target) << each.raw;
    EXPECT_EQ(target->authority, each.authority);
    EXPECT_EQ(target->rest, each.rest);
  }
  for (const char* other : {"/", "*", "", "http:/", "https://localhost:8790/", "localhost:8790"}) {
    EXPECT_FALSE(splitAbsoluteTarget(other)) << other;
  }
}

}  // namespace
}  // namespace fw::http
