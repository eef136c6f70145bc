#include "http/json/json_parser.h"

#include <gtest/gtest.h>

namespace fw::http {
namespace {

std::string failure(std::string_view text) {
  const auto parsed = parseJson(text);
  const auto* error = std::get_if<JsonError>(&parsed);
  return error == nullptr ? "parsed" : std::to_string(error->position) + ": " + error->message;
}

TEST(JsonParserTest, ReadsEveryKindOfValue) {
  const char* const text =
      " {\"a\" : [1, -2, 0, 9223372036854775807, 1.5, -0.5e+3],\t\"b\": {\"c\": true, \"d\": "
      "false},\n\"e\": null, \"f\": \"x\\\"\\\\\\/\\b\\f\\n\\r\\t\\u0041\\u00e9\\u20AC\\uD83D"
      "\\uDE00\xC3\xA9\", \"g\": [], \"h\": {}} ";

  const auto parsed = parseJson(text);

  ASSERT_TRUE(std::holds_alternative<Json>(parsed)) << failure(text);
  EXPECT_EQ(std::get<Json>(parsed), Json::parse(text));
}

TEST(JsonParserTest, SaysWhereAndWhatItExpected) {
  const struct {
    std::string_view text;
    const char* failure;
  } cases[] = {
      {"", "0: Found the content's end and expected a value."},
      {"  x", "2: Found \"x\" and expected a value."},
      {"{", "1: Found the content's end and expected a name in quotes or \"}\"."},
      {"{\"a\" 1}", "5: Found \"1\" and expected \":\"."},
      {"{\"a\":1 \"b\"}", "7: Found \"\"\" and expected \",\" or \"}\"."},
      {"{\"a\":1,}", "7: Found \"}\" and expected a name in quotes."},
      {"[1 2]", "3: Found \"2\" and expected \",\" or \"]\"."},
      {"[1,]", "3: Found \"]\" and expected a value."},
      {"{} {}", "3: Found \"{\" and expected nothing after the document's end."},
      {"tru", "0: Found \"t\" and expected a value."},
      {"[\xC3\xA9]", "1: Found \"\xC3\xA9\" and expected a value."},
      {"\"a", "0: The text that begins here has no closing quote."},
      {"\"\t\"", "1: A control character can't stand in a text; write it as \\u00XX."},
      {"-", "0: This is no number; expected digits, without a zero before others."},
      {"01", "0: This is no number; expected digits, without a zero before others."},
      {"1.", "2: Found the content's end and expected a digit."},
      {"1e+", "3: Found the content's end and expected a digit."},
      {"9223372036854775808", "0: The number 9223372036854775808 is out of range."},
      {"1e999", "0: The number 1e999 is out of range."},
      {"{\"a\":1,\"a\":2}", "7: The name \"a\" stands here a second time; give it once."},
      {"{\"a\":{\"b\":1,\"b\":2}}", "12: The name \"b\" stands here a second time; give it once."},
      {"\xFF", "0: The content is not UTF-8."},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(failure(each.text), each.failure) << each.text;
  }
}

TEST(JsonParserTest, RefusesBrokenEscapes) {
  for (const char* text : {"\"\\x\"", "\"\\u12\"", "\"\\u12G4\"", "\"\\uD800\"", "\"\\uD800\\n\"",
                           "\"\\uD800\\u0041\"", "\"\\uDC00\"", "\"\\", "\"\\u", "\"\\u-123\""}) {
    EXPECT_NE(failure(text), "parsed") << text;
    EXPECT_EQ(failure(text).substr(0, 2), "1:") << text;
  }
}

TEST(JsonParserTest, BoundsDepthAndMembers) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  const auto wide = [](std::size_t count) {
    std::string text = "{";
    for (std::size_t i = 0; i < count; ++i) {
      text += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":1";
    }
    return text + '}';
  };

  EXPECT_EQ(failure(nested(kMaxJsonDepth)), "parsed");
  EXPECT_NE(failure(nested(kMaxJsonDepth + 1)), "parsed");
  EXPECT_NE(failure(std::string(1'000'000, '[')), "parsed");
  EXPECT_EQ(failure(wide(kMaxJsonMembers)), "parsed");
  EXPECT_NE(failure(wide(kMaxJsonMembers + 1)), "parsed");
}

}  // namespace
}  // namespace fw::http
