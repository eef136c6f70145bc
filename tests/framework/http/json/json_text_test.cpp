#include "http/json/json_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace fw::http {
namespace {

std::string written(std::string_view text) {
  std::string out;
  appendJsonString(out, text);
  return out;
}

TEST(JsonTextTest, EscapesWhatMustNotStandInAString) {
  EXPECT_EQ(written(""), "\"\"");
  EXPECT_EQ(written("a\"b\\c\n\r\t"), "\"a\\\"b\\\\c\\n\\r\\t\"");
  EXPECT_EQ(written(std::string_view("\0\x1f", 2)), "\"\\u0000\\u001f\"");
  EXPECT_EQ(written("\xE2\x82\xAC</script>"), "\"\xE2\x82\xAC</script>\"");
}

TEST(JsonTextTest, WritesEveryAsciiCharacterSoThatAParserReadsItBack) {
  std::string all;
  for (char c = 0; c >= 0 && c < 127; ++c) {
    all += c;
  }

  EXPECT_EQ(nlohmann::json::parse(written(all)).get<std::string>(), all);
}

TEST(JsonTextTest, WritesNumbersWithoutLoss) {
  std::string out;
  appendJsonNumber(out, std::numeric_limits<std::int64_t>::min());
  out += ' ';
  appendJsonNumber(out, std::numeric_limits<std::int64_t>::max());

  EXPECT_EQ(out, "-9223372036854775808 9223372036854775807");
}

TEST(JsonTextTest, WritesMomentsInUtcWithMilliseconds) {
  using namespace std::chrono;

  EXPECT_EQ(toRfc3339(system_clock::time_point{}), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(toRfc3339(system_clock::time_point{milliseconds{1'767'323'045'007}}),
            "2026-01-02T03:04:05.007Z");
  EXPECT_EQ(toRfc3339(system_clock::time_point{milliseconds{-1}}), "1969-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace fw::http
