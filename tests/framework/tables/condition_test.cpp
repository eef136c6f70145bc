#include "tables/condition.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/test_table.h"

namespace fw {
namespace {

const Column kShort{"SHORT", ColumnType::Int16, 0, 2};
const Column kInt{"INT", ColumnType::Int32, 2, 4};
const Column kLong{"LONG", ColumnType::Int64, 6, 8};
const Column kChars{"CHARS", ColumnType::Chars, 14, 8};
const Column kUtf8{"UTF8", ColumnType::Utf8, 22, 8};

std::string row(Value s, Value i, Value l, Value c, Value u) {
  return test::rowOf({kShort, kInt, kLong, kChars, kUtf8}, {s, i, l, c, u});
}

std::string plainRow() {
  return row(std::int64_t{-5}, std::int64_t{100}, std::int64_t{1} << 40, std::string("abc"),
             std::string("Zürich"));
}

struct Expected {
  _IntfOper oper;
  bool below, equal, above;  ///< of a cell that is below, equal to or above the value
};

constexpr Expected kTable[] = {
    {kIntfEqual, false, true, false},         {kIntfNotEqual, true, false, true},
    {kIntfGreaterOrEqual, false, true, true}, {kIntfLessOrEqual, true, true, false},
    {kIntfLess, true, false, false},          {kIntfGreater, false, false, true},
};

TEST(ConditionTest, ComparesNumbersOfEveryWidth) {
  const std::string cells = plainRow();
  for (const auto& [column, cell] :
       {std::pair{kShort, std::int64_t{-5}}, std::pair{kInt, std::int64_t{100}},
        std::pair{kLong, std::int64_t{1} << 40}}) {
    for (const Expected& each : kTable) {
      EXPECT_EQ(Condition(column, each.oper, cell + 1).holds(cells.data()), each.below);
      EXPECT_EQ(Condition(column, each.oper, cell).holds(cells.data()), each.equal);
      EXPECT_EQ(Condition(column, each.oper, cell - 1).holds(cells.data()), each.above);
    }
  }
}

TEST(ConditionTest, ComparesTextsByCodePointWithoutPadding) {
  const std::string cells = plainRow();
  for (const Expected& each : kTable) {
    EXPECT_EQ(Condition(kChars, each.oper, std::string("abd")).holds(cells.data()), each.below);
    EXPECT_EQ(Condition(kChars, each.oper, std::string("abc  ")).holds(cells.data()), each.equal);
    EXPECT_EQ(Condition(kChars, each.oper, std::string("ab")).holds(cells.data()), each.above);
    EXPECT_EQ(Condition(kUtf8, each.oper, std::string("Zürich")).holds(cells.data()), each.equal);
    EXPECT_EQ(Condition(kUtf8, each.oper, std::string("Zurich")).holds(cells.data()), each.above);
    EXPECT_EQ(Condition(kUtf8, each.oper, std::string("Z\u4e2d")).holds(cells.data()), each.below);
  }
}

TEST(ConditionTest, ACellWithoutValueSatisfiesNothing) {
  const std::string cells = row({}, {}, {}, std::string(), std::string());
  for (const Expected& each : kTable) {
    EXPECT_FALSE(Condition(kShort, each.oper, std::int64_t{0}).holds(cells.data()));
    EXPECT_FALSE(Condition(kInt, each.oper, std::int64_t{0}).holds(cells.data()));
    EXPECT_FALSE(Condition(kLong, each.oper, std::int64_t{0}).holds(cells.data()));
  }
}

TEST(ConditionTest, TheOperatorIsItsLowTwelveBits) {
  EXPECT_TRUE(satisfies(0x7000 | kIntfEqual, std::strong_ordering::equal));
  EXPECT_FALSE(satisfies(0, std::strong_ordering::equal));
  EXPECT_FALSE(satisfies(7, std::strong_ordering::equal));
}

TEST(ConditionTest, AThresholdIsBinaryAndOneByteLongerThanTheColumn) {
  std::string five(3, '\0');
  const std::int16_t number = 5;
  std::memcpy(five.data(), &number, sizeof number);

  EXPECT_EQ(Condition(kShort, kIntfLess, std::int64_t{5}).threshold(), five);
  EXPECT_EQ(Condition(kChars, kIntfEqual, std::string("ab ")).threshold(),
            std::string("ab\0\0\0\0\0\0\0", 9));
}

TEST(ConditionTest, AllConditionsOfAPredicateMustHold) {
  const std::string cells = plainRow();
  const Condition yes(kInt, kIntfEqual, std::int64_t{100});
  const Condition no(kInt, kIntfEqual, std::int64_t{101});

  EXPECT_TRUE(holds({}, cells.data()));
  EXPECT_TRUE(holds({yes, yes}, cells.data()));
  EXPECT_FALSE(holds({yes, no}, cells.data()));
}

TEST(ConditionTest, OnlyEqualityThatSurvivesTheWayGoesDownAsAFilter) {
  const Predicate predicate = {
      Condition(kShort, kIntfEqual, std::int64_t{-5}),
      Condition(kInt, kIntfEqual, std::int64_t{7}),
      Condition(kLong, kIntfEqual, std::int64_t{7}),
      Condition(kChars, kIntfEqual, std::string("abc")),
      Condition(kUtf8, kIntfEqual, std::string("x")),
      Condition(kUtf8, kIntfEqual, std::string("ü")),
      Condition(kUtf8, kIntfEqual, std::string("")),
      Condition(kInt, kIntfGreater, std::int64_t{7}),
  };

  const std::vector<Filter> filters = filtersOf(predicate);

  const std::int32_t minusFive = -5;
  const std::int32_t seven = 7;
  const auto bytes = [](const std::int32_t& number) {
    return std::string(reinterpret_cast<const char*>(&number), sizeof number);
  };
  const std::vector<Filter> expected = {{"CHARS", kFlt1Text, "abc"},
                                        {"INT", kFlt1Int32, bytes(seven)},
                                        {"SHORT", kFlt1Int32, bytes(minusFive)},
                                        {"UTF8", kFlt1Utf8, "x"}};
  EXPECT_EQ(filters, expected);
}

}  // namespace
}  // namespace fw
