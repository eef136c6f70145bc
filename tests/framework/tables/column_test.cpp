#include "tables/column.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace fw {
namespace {

std::vector<Column> columns() {
  return {{"ORIGINNODE", ColumnType::Chars, 0, 32},
          {"COUNT", ColumnType::Int32, 32, 4},
          {"SHORT", ColumnType::Int16, 36, 2},
          {"NAME", ColumnType::Utf8, 38, 10},
          {"TOTAL", ColumnType::Int64, 48, 8}};
}

TEST(ColumnTest, AcceptsColumnsThatFillTheRow) {
  EXPECT_EQ(checkColumns(columns(), 56), std::nullopt);
}

TEST(ColumnTest, AcceptsColumnsThatAreDeclaredInAnotherOrderThanTheyStand) {
  auto shuffled = columns();
  std::swap(shuffled.front(), shuffled.back());

  EXPECT_EQ(checkColumns(shuffled, 56), std::nullopt);
}

TEST(ColumnTest, SaysWhatIsWrongWithADescription) {
  struct Case {
    std::function<void(std::vector<Column>&)> spoil;
    std::string expected;
  };
  const Case cases[] = {
      {[](auto& c) { c.clear(); }, "it has no columns"},
      {[](auto& c) { c[1].name.clear(); }, "the column at offset 32 has no name"},
      {[](auto& c) { c[1].name = "NAME"; }, "two columns are named NAME"},
      {[](auto& c) { c[1].type = ColumnType(7); }, "column COUNT has the unknown type 7"},
      {[](auto& c) { c[3].size = 0; }, "column NAME has no bytes"},
      {[](auto& c) { c[1].size = 8; }, "column COUNT of type int32 takes 4 bytes, not 8"},
      {[](auto& c) { c[2].size = 4; }, "column SHORT of type int16 takes 2 bytes, not 4"},
      {[](auto& c) { c[4].size = 4; }, "column TOTAL of type int64 takes 8 bytes, not 4"},
      {[](auto& c) { c[3].offset = 40; },
       "column NAME is at offset 40 where 38 would be without gap or overlap"},
      {[](auto& c) {
         c[0] = {"ORIGINNODE", ColumnType::Int64, 0, 8};
       },
       "column ORIGINNODE is not a text"},
      {[](auto& c) { c[0].size = 31; },
       "column ORIGINNODE has 31 bytes, and the name of a node takes 32: give the column that "
       "width"},
      {[](auto& c) { c.pop_back(); }, "its columns take 48 bytes and its rows 56"},
  };
  for (const Case& each : cases) {
    auto spoilt = columns();
    each.spoil(spoilt);
    EXPECT_EQ(checkColumns(spoilt, 56), each.expected);
  }
}

TEST(ColumnTest, FindsAColumnByItsExactName) {
  const TableInfo table{"APP", "T", columns(), 56, true};

  ASSERT_NE(table.find("COUNT"), nullptr);
  EXPECT_EQ(table.find("COUNT")->offset, 32U);
  EXPECT_EQ(table.find("count"), nullptr);
}

}  // namespace
}  // namespace fw
