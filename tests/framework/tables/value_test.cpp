#include "tables/value.h"

#include <gtest/gtest.h>

#include <limits>

namespace fw {
namespace {

Value roundTrip(const Column& column, const Value& value) {
  std::string row(column.offset + column.size, '?');
  encodeValue(column, value, row.data());
  return decodeValue(column, row.data());
}

constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();

TEST(ValueTest, NumbersKeepTheirValueAtBothEndsOfTheRange) {
  EXPECT_EQ(roundTrip({"C", ColumnType::Int16, 3, 2}, std::int64_t{-32767}),
            Value(std::int64_t{-32767}));
  EXPECT_EQ(roundTrip({"C", ColumnType::Int32, 1, 4}, std::int64_t{2147483647}),
            Value(std::int64_t{2147483647}));
  EXPECT_EQ(roundTrip({"C", ColumnType::Int64, 5, 8}, kInt64Max), Value(kInt64Max));
}

TEST(ValueTest, TheSmallestNumberOfATypeIsNoValue) {
  EXPECT_EQ(roundTrip({"C", ColumnType::Int16, 0, 2}, std::int64_t{-32768}), Value());
  EXPECT_EQ(roundTrip({"C", ColumnType::Int32, 0, 4}, Value()), Value());
  EXPECT_EQ(roundTrip({"C", ColumnType::Int64, 0, 8}, Value()), Value());
}

TEST(ValueTest, ANumberThatDoesNotFitBecomesNoValue) {
  EXPECT_EQ(roundTrip({"C", ColumnType::Int16, 0, 2}, std::int64_t{40000}), Value());
  EXPECT_EQ(roundTrip({"C", ColumnType::Int32, 0, 4}, kInt64Max), Value());
  EXPECT_EQ(roundTrip({"C", ColumnType::Int32, 0, 4}, std::string("1")), Value());
}

TEST(ValueTest, CharactersArePaddedWithBlanksAndUtf8WithZeros) {
  std::string row(10, '?');

  encodeValue({"A", ColumnType::Chars, 0, 5}, std::string("ab"), row.data());
  encodeValue({"B", ColumnType::Utf8, 5, 5}, std::string("cd"), row.data());

  EXPECT_EQ(row, std::string("ab   cd\0\0\0", 10));
}

TEST(ValueTest, TextLosesItsPaddingOnly) {
  EXPECT_EQ(decodeValue({"A", ColumnType::Chars, 0, 6}, " a b  "), Value(std::string(" a b")));
  EXPECT_EQ(decodeValue({"A", ColumnType::Utf8, 0, 4}, "ab\0\0"), Value(std::string("ab")));
  EXPECT_EQ(decodeValue({"A", ColumnType::Chars, 0, 3}, "   "), Value(std::string()));
}

TEST(ValueTest, TextIsCutBetweenTwoCharacters) {
  EXPECT_EQ(roundTrip({"A", ColumnType::Utf8, 0, 4}, std::string("aäöü")),
            Value(std::string("aä")));
}

TEST(ValueTest, TextIsValidUtf8WhateverTheBytes) {
  EXPECT_EQ(decodeValue({"A", ColumnType::Chars, 0, 3}, "a\xff\x62"),
            Value(std::string("a\xEF\xBF\xBD\x62")));
  // A character beyond the first 65,536, as Java writes it: two surrogates of three bytes.
  EXPECT_EQ(decodeValue({"A", ColumnType::Utf8, 0, 8}, "\xED\xA0\xBD\xED\xB8\x80\0"),
            Value(std::string("\xF0\x9F\x98\x80")));
}

}  // namespace
}  // namespace fw
