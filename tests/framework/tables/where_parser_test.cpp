#include "tables/where_parser.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

const TableInfo kTable{"APP",
                       "POOLS",
                       {{"NAME", ColumnType::Utf8, 0, 16},
                        {"USED", ColumnType::Int64, 16, 8},
                        {"COUNT", ColumnType::Int32, 24, 4},
                        {"PERCENT", ColumnType::Int16, 28, 2},
                        {"ODD NAME", ColumnType::Chars, 30, 4}},
                       34,
                       false};

std::string shown(const Condition& condition) {
  std::string text = condition.column().name + ' ' + std::to_string(condition.oper()) + ' ';
  if (const auto* number = std::get_if<std::int64_t>(&condition.value())) {
    return text + std::to_string(*number);
  }
  return text + '<' + std::get<std::string>(condition.value()) + '>';
}

std::vector<std::string> parsed(std::string_view text) {
  const auto result = parseWhere(text, kTable);
  if (const auto* error = std::get_if<WhereError>(&result)) {
    return {"error at " + std::to_string(error->position) + ": " + error->message};
  }
  std::vector<std::string> conditions;
  for (const Condition& condition : std::get<Predicate>(result)) {
    conditions.push_back(shown(condition));
  }
  return conditions;
}

using Texts = std::vector<std::string>;

TEST(WhereParserTest, AnEmptyTextTakesEveryRow) {
  EXPECT_EQ(parsed(""), Texts());
  EXPECT_EQ(parsed(" \t\n"), Texts());
}

TEST(WhereParserTest, KnowsEverySpellingOfTheOperators) {
  EXPECT_EQ(parsed("COUNT = 1 and COUNT == 1 and COUNT != 2 and COUNT <> 2"),
            (Texts{"COUNT 1 1", "COUNT 1 1", "COUNT 2 2", "COUNT 2 2"}));
  EXPECT_EQ(parsed("COUNT >= 1 AND COUNT <= 2 And COUNT < 3 and COUNT > 4"),
            (Texts{"COUNT 3 1", "COUNT 4 2", "COUNT 5 3", "COUNT 6 4"}));
  EXPECT_EQ(parsed("COUNT>=-1 and USED<9223372036854775807"),
            (Texts{"COUNT 3 -1", "USED 5 9223372036854775807"}));
}

TEST(WhereParserTest, TakesTextsBareAndQuoted) {
  EXPECT_EQ(parsed("NAME = heap"), Texts{"NAME 1 <heap>"});
  EXPECT_EQ(parsed("NAME = 'G1 Old Gen'"), Texts{"NAME 1 <G1 Old Gen>"});
  EXPECT_EQ(parsed("NAME = \"it's\" and NAME = 'it''s'"),
            (Texts{"NAME 1 <it's>", "NAME 1 <it's>"}));
  EXPECT_EQ(parsed("NAME = 'a and b'"), Texts{"NAME 1 <a and b>"});
  EXPECT_EQ(parsed("NAME = ''"), Texts{"NAME 1 <>"});
  EXPECT_EQ(parsed("NAME = 42"), Texts{"NAME 1 <42>"});
  EXPECT_EQ(parsed("NAME = and"), Texts{"NAME 1 <and>"});
  EXPECT_EQ(parsed("\"ODD NAME\" = x and COUNT = '7'"), (Texts{"ODD NAME 1 <x>", "COUNT 1 7"}));
  EXPECT_EQ(parsed("NAME = Zürich"), Texts{"NAME 1 <Zürich>"});
}

TEST(WhereParserTest, SaysWhereItIsWrongAndWhatWasExpected) {
  const std::pair<const char*, const char*> cases[] = {
      {"= 1", "error at 0: expected a column name, found '='"},
      {"COUNT", "error at 5: expected one of = == != <> >= <= < > after COUNT, found the end"},
      {"COUNT 1", "error at 6: expected one of = == != <> >= <= < > after COUNT, found '1'"},
      {"COUNT => 1", "error at 6: expected one of = == != <> >= <= < > after COUNT, found '=>'"},
      {"COUNT =", "error at 7: expected a number for COUNT, found the end"},
      {"COUNT = 1x", "error at 8: expected a whole number for COUNT, found '1x'"},
      {"COUNT = ''", "error at 8: expected a whole number for COUNT, found ''"},
      {"COUNT = 1.5", "error at 8: expected a whole number for COUNT, found '1.5'"},
      {"COUNT = 1 or COUNT = 2", "error at 10: expected 'and' or the end, found 'or'"},
      {"COUNT = 1 and", "error at 13: expected a column name, found the end"},
      {"NAME = 'abc", "error at 7: the text that begins here has no closing '"},
      {"NAME = aaaaaaaaaaaaaaaaa", "error at 7: NAME holds at most 16 bytes, this value has 17"},
      {"PERCENT = 40000", "error at 10: PERCENT of type int16 takes -32767 to 32767, not 40000"},
      {"COUNT = -2147483648",
       "error at 8: COUNT of type int32 takes -2147483647 to 2147483647, not -2147483648"},
      {"USED = 9223372036854775808",
       "error at 7: USED of type int64 takes -9223372036854775807 to 9223372036854775807, not "
       "9223372036854775808"},
      {"USDE = 1", "error at 0: table POOLS has no column 'USDE'; did you mean USED?"},
      {"count = 1", "error at 0: table POOLS has no column 'count'; did you mean COUNT?"},
      {"XYZZY = 1", "error at 0: table POOLS has no column 'XYZZY'"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(parsed(text), Texts{expected}) << text;
  }
}

TEST(WhereParserTest, NamesTheNearestColumn) {
  const auto result = parseWhere("PERCNT > 5", kTable);

  ASSERT_TRUE(std::holds_alternative<WhereError>(result));
  EXPECT_EQ(std::get<WhereError>(result).nearest, "PERCENT");
}

TEST(WhereParserTest, BoundsLengthAndConditions) {
  std::string many = "COUNT = 1";
  for (std::size_t i = 1; i < kMaxConditions; ++i) {
    many += " and COUNT = 1";
  }

  EXPECT_EQ(parsed(many).size(), kMaxConditions);
  EXPECT_EQ(parsed(many + " and COUNT = 1").at(0).find("error at"), 0U);
  EXPECT_EQ(parsed(std::string(kMaxWhereBytes + 1, ' ')).at(0),
            "error at 4096: the text is longer than 4096 bytes");
}

}  // namespace
}  // namespace fw
