#include "basic/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

using namespace std::string_literals;

// U+FFFD
#define BAD "\xEF\xBF\xBD"

TEST(Utf8Test, WellFormedTextIsValid) {
  for (const std::string& text :
       {""s, "plain"s, "\0"s, "\xC2\x80"s, "\xDF\xBF"s, "\xE0\xA0\x80"s, "\xED\x9F\xBF"s,
        "\xEE\x80\x80"s, "\xF0\x90\x80\x80"s, "\xF4\x8F\xBF\xBF"s}) {
    EXPECT_TRUE(isValidUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, IllFormedTextIsNotValid) {
  for (const std::string& text :
       {"\x80"s, "\xC0\x80"s, "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xED\xA0\x80"s, "\xF0\x8F\xBF\xBF"s,
        "\xF4\x90\x80\x80"s, "\xF5\x80\x80\x80"s, "\xFF"s, "\xC3"s, "\xE2\x82"s, "\xF0\x9F\x98"s,
        "\xC3("s}) {
    EXPECT_FALSE(isValidUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, ModifiedUtf8BecomesValidUtf8) {
  const struct {
    std::string modified;
    std::string valid;
  } cases[] = {
      {"", ""},
      {"plain \xC3\xA4", "plain \xC3\xA4"},
      {"a\xC0\x80z", "a\0z"s},
      {"\xED\xA0\xBD\xED\xB8\x80", "\xF0\x9F\x98\x80"},                  // U+1F600
      {"\xED\xA0\x80\xED\xB0\x80", "\xF0\x90\x80\x80"},                  // U+10000
      {"\xED\xAF\xBF\xED\xBF\xBF", "\xF4\x8F\xBF\xBF"},                  // U+10FFFF
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},                          // valid already
      {"x\xED\xA0\xBDy", "x" BAD "y"},                                   // high alone
      {"x\xED\xB8\x80y", "x" BAD "y"},                                   // low alone
      {"\xED\xB8\x80\xED\xA0\xBD", BAD BAD},                             // wrong order
      {"\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", BAD "\xF0\x9F\x98\x80"},  // high, pair
      {"\xED\xA0\xBD\xED\xB8", BAD BAD BAD},                             // cut in the pair
      {"\x80\xFF", BAD BAD},
      {"\xE2\x82", BAD},
      {"\xE2\x82z", BAD "z"},
      {"\xC0", BAD},
      {"\xC0\xAF", BAD BAD},
  };

  for (const auto& [modified, valid] : cases) {
    EXPECT_EQ(fromModifiedUtf8(modified), valid) << testing::PrintToString(modified);
  }
}

TEST(Utf8Test, WhateverComesInValidUtf8GoesOut) {
  const unsigned char bytes[] = {0x00, 0x41, 0x80, 0x8F, 0x90, 0xA0, 0xB0, 0xBF,
                                 0xC0, 0xC2, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xFF};
  std::string text(4, '\0');
  for (int i = 0; i < 16 * 16 * 16 * 16; ++i) {
    for (std::size_t n = 0; n < text.size(); ++n) {
      text[n] = static_cast<char>(bytes[static_cast<unsigned>(i) >> (4 * n) & 0xFU]);
    }
    ASSERT_TRUE(isValidUtf8(fromModifiedUtf8(text))) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, ValidUtf8BecomesModifiedUtf8) {
  const struct {
    std::string valid;
    std::string modified;
  } cases[] = {
      {"", ""},
      {"plain \xC3\xA4 \xE2\x82\xAC", "plain \xC3\xA4 \xE2\x82\xAC"},
      {"a\0z"s, "a\xC0\x80z"},
      {"\xF0\x9F\x98\x80", "\xED\xA0\xBD\xED\xB8\x80"},  // U+1F600
      {"\xF0\x90\x80\x80", "\xED\xA0\x80\xED\xB0\x80"},  // U+10000
      {"\xF4\x8F\xBF\xBF", "\xED\xAF\xBF\xED\xBF\xBF"},  // U+10FFFF
      {"x\xFFy\xF0\x9F", "x\xFFy\xF0\x9F"},              // no UTF-8
  };

  for (const auto& [valid, modified] : cases) {
    EXPECT_EQ(toModifiedUtf8(valid), modified) << testing::PrintToString(valid);
  }
}

TEST(Utf8Test, TextIsCutBetweenCharacters) {
  const std::string text = "a\xC3\xA4\xF0\x9F\x98\x80z";
  const char* cuts[] = {"", "a", "a", "a\xC3\xA4", "a\xC3\xA4", "a\xC3\xA4", "a\xC3\xA4"};

  for (std::size_t i = 0; i < std::size(cuts); ++i) {
    EXPECT_EQ(cutUtf8(text, i), cuts[i]) << i;
  }
  EXPECT_EQ(cutUtf8(text, 7), "a\xC3\xA4\xF0\x9F\x98\x80");
  EXPECT_EQ(cutUtf8(text, 100), text);
}

TEST(Utf8Test, TextWithoutCharactersIsCutAtTheLimit) {
  EXPECT_EQ(cutUtf8(std::string(20, '\x80'), 10).size(), 10U);
}

}  // namespace
}  // namespace fw
