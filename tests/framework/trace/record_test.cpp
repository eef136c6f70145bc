#include "trace/record.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "trace_fixture.h"

namespace fw::trace {
namespace {

using namespace std::chrono_literals;

class RecordTest : public testing::Test {
 protected:
  std::string format(std::string_view text, std::uint64_t limit = 1000) {
    return formatRecord({Clock::WallTime(1'792'783'360'123ms), 4711, 4713}, unit.entry, 88, text,
                        limit);
  }

  // What stands after the function's name.
  std::string textOf(std::string_view text, std::uint64_t limit = 1000) {
    return format(text, limit).substr(prefix.size());
  }

  TestUnit unit{"ZELIRA", "zelira.cpp", "*", "TakeSample"};
  const std::string prefix = "2026-10-23T19:22:40.123Z 4711 4713 ZELIRA zelira.cpp:88 TakeSample";
};

TEST_F(RecordTest, ARecordSaysWhenAndWhereAndWhat) {
  EXPECT_EQ(format("Rows: 3"), prefix + " Rows: 3");
}

TEST_F(RecordTest, AComponentStandsBehindTheUnit) {
  TestUnit java("ZELJCLNT", "Sampler.java", "com.acme.Sampler", "sample");

  const std::string record = formatRecord({Clock::WallTime(0s), 1, 2}, java.entry, 0, "slow", 1000);

  EXPECT_EQ(record,
            "1970-01-01T00:00:00.000Z 1 2 ZELJCLNT(com.acme.Sampler) Sampler.java:0 sample slow");
}

TEST_F(RecordTest, NamesAreOneWordEach) {
  TestUnit java("ZELJCLNT", "", "my logger", "<init>\n");

  const std::string record = formatRecord({Clock::WallTime(0s), 1, 2}, java.entry, 0, "text", 1000);

  EXPECT_EQ(record, "1970-01-01T00:00:00.000Z 1 2 ZELJCLNT(my_logger) -:0 <init>_ text");
}

TEST_F(RecordTest, FurtherLinesAreIndentedSoThatNoTextCanPassForARecord) {
  EXPECT_EQ(textOf("failed:\n2026-01-01T00:00:00.000Z 1 1 X y:1 z forged\r\nend\n"),
            " failed:\n    2026-01-01T00:00:00.000Z 1 1 X y:1 z forged\n    end");
}

TEST_F(RecordTest, ControlCharactersAreEscaped) {
  const struct {
    std::string text;
    std::string shown;
  } cases[] = {
      {"a\x1B[31mred", " a\\x1B[31mred"},
      {"tab\tstays", " tab\tstays"},
      {std::string("nul\0end", 7), " nul\\x00end"},
      {"lone\rreturn", " lone\\x0Dreturn"},
      {"del\x7F", " del\\x7F"},
      {"c1 \xC2\x9B", " c1 \\xC2\\x9B"},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", " \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"broken \xC3( \xFF", " broken \\xC3( \\xFF"},
  };

  for (const auto& [text, shown] : cases) {
    EXPECT_EQ(textOf(text), shown);
  }
}

TEST_F(RecordTest, AnEmptyTextLeavesNoBlankBehind) {
  EXPECT_EQ(textOf(""), "");
  EXPECT_EQ(textOf("\n"), "");
}

TEST_F(RecordTest, ATextBeyondTheLimitIsCutBetweenCharactersAndSaysSo) {
  EXPECT_EQ(textOf("12345678", 5), " 12345\n    ... (3 bytes cut)");
  EXPECT_EQ(textOf("1234\xC3\xA4", 5), " 1234\n    ... (2 bytes cut)");
  EXPECT_EQ(textOf("12345", 5), " 12345");
}

TEST_F(RecordTest, ADumpShowsBytesInHexadecimalAndAsCharacters) {
  EXPECT_EQ(formatDump("Filter", "0123456789abcdef\x01\xFFz", 19),
            "Filter (19 bytes)\n"
            "00000000  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66  |0123456789abcdef|\n"
            "00000010  01 ff 7a                                          |..z|");
}

TEST_F(RecordTest, ADumpOfNothingIsItsTitle) {
  EXPECT_EQ(formatDump("Filter", "", 0), "Filter (0 bytes)");
  EXPECT_EQ(formatDump("Filter", nullptr, 7), "Filter (7 bytes, null)");
}

TEST_F(RecordTest, ADumpIsBoundedAndSaysSo) {
  const std::vector<char> bytes(kDumpLimit + 5, 'x');

  const std::string dump = formatDump("Row", bytes.data(), kDumpLimit + 5);

  EXPECT_NE(dump.find("\n0000fff0 "), std::string::npos);
  EXPECT_EQ(dump.find("\n00010000 "), std::string::npos);
  EXPECT_EQ(dump.substr(dump.rfind('\n')), "\n... (5 bytes not shown)");
}

}  // namespace
}  // namespace fw::trace
