#include "engine_fixture.h"
#include "tables/status.h"

namespace fw {
namespace {

using State = TableStatus::State;

TEST_F(EngineTest, DescribesATableThatIsRegistered) {
  startWithTables();

  const auto status = engine->table("PER_SUBNODE");

  ASSERT_TRUE(status);
  EXPECT_EQ(status->state, State::Ready);
  EXPECT_EQ(status->info->application, "TST");
  EXPECT_EQ(status->info->rowSize, 40U);
  ASSERT_EQ(status->info->columns.size(), 2U);
  EXPECT_EQ(status->info->columns[1].name, "N");
  EXPECT_TRUE(status->info->perSubnode);
  EXPECT_FALSE(engine->table("OWN")->info->perSubnode);
  EXPECT_EQ(perSubnode.created, 1);
  EXPECT_EQ(perSubnode.deleted, 1) << "the object that described the table is not kept";
  EXPECT_EQ(perSubnode.samples, 0);
}

TEST_F(EngineTest, ListsTablesInNameOrder) {
  startWithTables();

  ASSERT_EQ(engine->tables().size(), 2U);
  EXPECT_EQ(engine->tables()[0].info->name, "OWN");
  EXPECT_FALSE(engine->table("NONE"));
}

TEST_F(EngineTest, RefusesATableThatIsDescribedWrongly) {
  // The tables live as long as the engine, which the fixture ends last.
  static test::TestTable gap("GAP", {{"N", ColumnType::Int32, 4, 4}});
  static test::TestTable mute("MUTE", own.columns);
  mute.makesNothing = true;
  static test::TestTable empty("EMPTY", {});
  static test::TestTable odd("ODD", test::packed({{"a\xC0\x80", ColumnType::Int32, 0, 4}}));
  static test::TestTable narrow("NARROW", test::packed({{"ORIGINNODE", ColumnType::Chars, 0, 31}}));
  config.columnLimit = 2;
  static test::TestTable wide("WIDE", test::packed({{"A", ColumnType::Int32, 0, 4},
                                                    {"B", ColumnType::Int32, 0, 4},
                                                    {"C", ColumnType::Int32, 0, 4}}));
  start();
  const std::pair<test::TestTable*, const char*> cases[] = {
      {&gap, "column N is at offset 4 where 0 would be without gap or overlap"},
      {&mute, "the agent made no request object"},
      {&empty, "it has no columns"},
      {&odd, "the name of column 0 is not plain UTF-8"},
      {&narrow,
       "column ORIGINNODE has 31 bytes, and the name of a node takes 32: give the column that "
       "width"},
      {&wide, "it has 3 columns; engine.column_limit is 2"},
  };

  for (const auto& [table, reason] : cases) {
    add(*table);
    const auto status = engine->table(table->tableName);
    EXPECT_EQ(status->state, State::Refused);
    EXPECT_EQ(status->refusal, reason);
  }

  const auto result = ask("GAP")->get();
  ASSERT_TRUE(result.error);
  EXPECT_EQ(result.error->kind, RequestError::Kind::TableRefused);
  EXPECT_NE(result.error->message.find("is at offset 4"), std::string::npos);
}

TEST_F(EngineTest, TakesATableNameOnceOnlyAndAtMostItsLimit) {
  config.tableLimit = 2;
  startWithTables();
  test::TestTable again("OWN", own.columns);
  test::TestTable third("THIRD", own.columns);
  test::TestTable nameless("", own.columns);

  EXPECT_EQ(engine->addTable(third), kRcLimit);
  EXPECT_EQ(engine->addTable(nameless), kRcBadArgument);
  engine->removeTable(perSubnode);
  EXPECT_EQ(engine->addTable(again), kRcDuplicate);
}

TEST_F(EngineTest, ATableThatIsRemovedIsUnknownAndItsObjectIsDeleted) {
  startWithTables();
  own.sample = [this](auto&) { return test::TestTable::Rows{own.row({std::string("a"), 1L})}; };
  ask("OWN")->get();

  engine->removeTable(own);

  EXPECT_FALSE(engine->table("OWN"));
  EXPECT_EQ(ask("OWN")->get().error->kind, RequestError::Kind::UnknownTable);
  EXPECT_EQ(own.created, own.deleted);
}

TEST_F(EngineTest, TakesNoTableOnceItIsStopping) {
  start();
  engine->refuse();

  EXPECT_EQ(engine->addTable(own), kRcStopping);
}

}  // namespace
}  // namespace fw
