#include "http/json/json_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

namespace fw::http {
namespace {

std::string failure(std::string_view text) {
  const auto parsed = parseJson(text);
  const auto* error = std::get_if<JsonError>(&parsed);
  return error == nullptr ? "parsed" : std::to_string(error->position) + ": " + error->message;
}

TEST(JsonReaderTest, ReadsEveryKindOfValue) {
  const char* const text =
      " {\"a\" : [1, -2, 0, 9223372036854775807, 1.5, -0.5e+3],\t\"b\": {\"c\": true, \"d\": "
      "false},\n\"e\": null, \"f\": \"x\\\"\\\\\\/\\b\\f\\n\\r\\t\\u0041\\u00e9\\u20AC\\uD83D"
      "\\uDE00\xC3\xA9\", \"g\": [], \"h\": {}} ";

  const auto parsed = parseJson(text);

  ASSERT_TRUE(std::holds_alternative<Json>(parsed)) << failure(text);
  EXPECT_EQ(nlohmann::json::parse(std::get<Json>(parsed).dump()), nlohmann::json::parse(text));
}

TEST(JsonReaderTest, SaysWhereAndWhatItExpected) {
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
      {"\"a", "0: The text can't be read: missing closing quote."},
      {"\"\t\"",
       "1: The text can't be read: control character U+0009 (HT) must be escaped to \\u0009 or "
       "\\t."},
      {"-", "0: The number can't be read: expected digit after '-'."},
      {"[-x]", "2: The number can't be read: expected digit after '-'."},
      {"01", "1: Found \"1\" and expected nothing after the document's end."},
      {"1.", "0: The number can't be read: expected digit after '.'."},
      {"1e+", "0: The number can't be read: expected digit after exponent sign."},
      {"[1-]", "3: The number can't be read: expected digit after '-'."},
      {"[", "1: Found the content's end and expected a value."},
      {"[[],{}", "6: Found the content's end and expected \",\" or \"]\"."},
      {"{\"a\" : ", "7: Found the content's end and expected a value."},
      {"{\"a\":1,1}", "7: Found \"1\" and expected a name in quotes."},
      {"[1,,2]", "3: Found \",\" and expected a value."},
      {"[1:2]", "2: Found \":\" and expected \",\" or \"]\"."},
      {"/**/1", "0: Found \"/\" and expected a value."},
      {"\xEF\xBB\xBF{}", "0: Found \"\xEF\xBB\xBF\" and expected a value."},
      {"9223372036854775808", "0: The number 9223372036854775808 is out of range."},
      {"[1, 18446744073709551616]", "4: The number 18446744073709551616 is out of range."},
      {"-9223372036854775809", "0: The number -9223372036854775809 is out of range."},
      {"1e999", "0: The number 1e999 is out of range."},
      {"{\"a\":1,\"a\":2}", "7: The name \"a\" appears here a second time; give it once."},
      {"{\"a\":{\"b\":1,\"b\":2}}", "12: The name \"b\" appears here a second time; give it once."},
      {"\xFF", "0: The content is not UTF-8."},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(failure(each.text), each.failure) << each.text;
  }
}

TEST(JsonReaderTest, SaysWhatIsWrongWithAnEscape) {
  const struct {
    const char* text;
    const char* failure;
  } cases[] = {
      {"\"\\x\"", "2: forbidden character after backslash; expected one of"},
      {"\"\\u12\"", "5: '\\u' must be followed by 4 hex digits"},
      {"\"\\u12G4\"", "5: '\\u' must be followed by 4 hex digits"},
      {"\"\\u-123\"", "3: '\\u' must be followed by 4 hex digits"},
      {"\"\\uD800\"", "7: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF"},
      {"\"\\uD800\\n\"", "8: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF"},
      {"\"\\uD800\\u0041\"", "12: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF"},
      {"\"\\uDC00\"", "6: surrogate U+DC00..U+DFFF must follow U+D800..U+DBFF"},
      {"[1, \"\\", "4: forbidden character after backslash; expected one of"},
      {"[1, \"\\u", "4: '\\u' must be followed by 4 hex digits"},
  };
  for (const auto& each : cases) {
    std::string told = failure(each.text);
    const std::string sentence = " The text can't be read:";
    const std::size_t at = told.find(sentence);
    ASSERT_NE(at, std::string::npos) << told;
    EXPECT_EQ(told.erase(at, sentence.size()).substr(0, std::strlen(each.failure)), each.failure)
        << each.text;
  }
}

TEST(JsonReaderTest, TakesNoByteZeroForTheEnd) {
  using namespace std::string_view_literals;

  for (const std::string_view text : {"{}\0"sv, "1\0"sv, "{} \0{}"sv}) {
    EXPECT_NE(failure(text).find("expected nothing after the document's end"), std::string::npos)
        << failure(text);
  }
  EXPECT_EQ(failure("[1\0]"sv), "2: Found \"\0\" and expected \",\" or \"]\"."sv);
  EXPECT_NE(failure("[\"\0\"]"sv).find("U+0000"), std::string::npos);
}

TEST(JsonReaderTest, TellsNothingOfALongTextThatIsBroken) {
  const std::string told = failure("[\"; last read: \\u12" + std::string(100'000, 'x') + "\"]");

  EXPECT_EQ(told, "19: The text can't be read: '\\u' must be followed by 4 hex digits.");
}

TEST(JsonReaderTest, BoundsDepthMembersAndValues) {
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
  const auto longList = [](std::size_t count) {
    std::string text = "[0";
    for (std::size_t i = 1; i < count; ++i) {
      text += ",0";
    }
    return text + ']';
  };

  EXPECT_EQ(failure(nested(kMaxJsonDepth)), "parsed");
  EXPECT_NE(failure(nested(kMaxJsonDepth + 1)), "parsed");
  EXPECT_NE(failure(std::string(1'000'000, '[')), "parsed");
  EXPECT_EQ(failure(wide(kMaxJsonMembers)), "parsed");
  EXPECT_NE(failure(wide(kMaxJsonMembers + 1)), "parsed");
  EXPECT_EQ(failure(longList(kMaxJsonValues - 1)), "parsed");
  EXPECT_EQ(failure(longList(kMaxJsonValues)),
            std::to_string(2 * kMaxJsonValues - 1) +
                ": The document has more than 65536 values; no more are accepted.");
}

}  // namespace
}  // namespace fw::http
