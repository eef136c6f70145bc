#include "http/json/json_document.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "http/json/json_text.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

TEST(JsonDocumentTest, WritesEveryKindOfValueInOneLine) {
  const Json json = {
      {"null", nullptr},
      {"flags", Json::List{true, false}},
      {"least", std::numeric_limits<std::int64_t>::min()},
      {"most", std::numeric_limits<std::uint64_t>::max()},
      {"fractions", Json::List{0.5, -2.0, 1e300}},
      {"text", "a\"\\\n\x01"},
      {"texts", std::vector<std::string>{"x", "y"}},
      {"object", Json::Object()},
  };

  EXPECT_EQ(json.dump(), R"({"null":null,"flags":[true,false],"least":-9223372036854775808,)"
                         R"("most":18446744073709551615,"fractions":[0.5,-2.0,1e+300],)"
                         R"("text":"a\"\\\n\u0001","texts":["x","y"],"object":{}})");
}

TEST(JsonDocumentTest, IndentsADocumentForPeople) {
  EXPECT_EQ(toDocument({{"a", Json::List{1, Json{{"b", 2}}}}, {"c", Json::List()}}),
            "{\n"
            "  \"a\": [\n"
            "    1,\n"
            "    {\n"
            "      \"b\": 2\n"
            "    }\n"
            "  ],\n"
            "  \"c\": []\n"
            "}\n");
}

TEST(JsonDocumentTest, PutsTheTimeFirstInALine) {
  EXPECT_EQ(toLine({{"name", "x"}}, Clock::WallTime{1'767'323'045'007ms}),
            R"({"time":"2026-01-02T03:04:05.007Z","name":"x"})");
}

TEST(JsonDocumentTest, ShowsReplacementCharactersForWhatIsNotUtf8) {
  EXPECT_EQ(Json("a\xFFz").dump(), "\"a\xEF\xBF\xBDz\"");
}

TEST(JsonDocumentTest, FindsMembersOfObjectsOnly) {
  const Json json = {{"a", 1}, {"b", "text"}};

  ASSERT_NE(json.find("b"), nullptr);
  EXPECT_EQ(*json.find("b")->text(), "text");
  EXPECT_EQ(*json.find("a")->whole(), 1);
  EXPECT_EQ(json.find("c"), nullptr);
  EXPECT_EQ(Json(1).find("a"), nullptr);
}

TEST(JsonTextTest, WritesMembersOfEveryKind) {
  std::string out = "{";
  appendJsonMember(out, "flag", true);
  appendJsonMember(out, "number", -7);
  appendJsonMember(out, "text", "a\"b");
  appendJsonMember(out, "given", std::optional(std::string("x")));
  appendJsonMember(out, "none", std::optional<std::int64_t>());
  out += '}';

  EXPECT_EQ(out, R"({"flag":true,"number":-7,"text":"a\"b","given":"x","none":null})");
}

}  // namespace
}  // namespace fw::http
