#include "action_fixture.h"

namespace fw {
namespace {

using Rows = test::TestTable::Rows;

/// Commands that are about a row of a table.
class ActionRowTest : public ActionTest {
 protected:
  ActionRowTest() {
    perSubnode.sample = [this](test::TestRequest& request) {
      const std::string node = request.subnode();
      return Rows{perSubnode.row({node, 1L}), perSubnode.row({node, 2L})};
    };
  }
};

TEST_F(ActionRowTest, TheFirstRowThatPassesIsRowZeroOfTheOwner) {
  std::string row;
  std::uint32_t rows = 0;
  std::string owner;
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    vuira& object = *capsule.owner;
    const auto index = static_cast<std::size_t>(capsule.rowOrReturnCode);
    row.assign(object.rowBuffer + object.rowSize * index, object.rowSize);
    rows = object.rowCount;
    owner = object.manager->tableName;
    return completed(capsule, 5, "it ran");
  };
  startDesk();

  const ActionStatus status = runOnRow("PER_SUBNODE", "N = 2", "two")->status();

  EXPECT_EQ(status.state, State::Completed);
  EXPECT_EQ(status.returnCode, 5);
  EXPECT_EQ(status.node, "raw:two") << "the node stands in the row";
  EXPECT_EQ(row, perSubnode.row({std::string("raw:two"), 2L}));
  EXPECT_EQ(rows, 1U);
  EXPECT_EQ(owner, "PER_SUBNODE");
}

TEST_F(ActionRowTest, TheOwnerOfARowIsAskedForTheSubnodeAndDeletedAfterwards) {
  std::string subnode;
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    subnode = static_cast<test::TestRequest*>(capsule.owner)->subnode();
    return completed(capsule, 0, "");
  };
  startDesk();
  ask("PER_SUBNODE")->get();
  const int before = perSubnode.created - perSubnode.deleted;

  EXPECT_EQ(runOnRow("PER_SUBNODE", "", "one")->status().state, State::Completed);

  EXPECT_EQ(subnode, "raw:one");
  EXPECT_TRUE(test::eventually([&] { return perSubnode.created - perSubnode.deleted == before; }));
}

TEST_F(ActionRowTest, ATableOfTheAgentHasRowsForCommandsToo) {
  startDesk();
  own.sample = [this](test::TestRequest&) { return Rows{Rows::value_type(own.rowSize, '\0')}; };

  const ActionStatus status = runOnRow("OWN")->status();

  EXPECT_EQ(status.state, State::Completed);
  EXPECT_EQ(status.node, "");
}

TEST_F(ActionRowTest, WithoutARowNothingIsRun) {
  std::atomic<int> calls{0};
  s_agent = [&](VuiraAutomationCapsule&) { return ++calls; };
  startDesk();

  const ActionStatus status = runOnRow("PER_SUBNODE", "N = 9")->status();

  EXPECT_EQ(status.state, State::Failed);
  EXPECT_EQ(status.message, "No row of table PER_SUBNODE passes the condition.");
  EXPECT_EQ(calls, 0);
}

TEST_F(ActionRowTest, ARowThatIsNotCurrentIsNotUsed) {
  startDesk();
  ask("PER_SUBNODE", "one")->get();
  advance(3s);
  perSubnode.sample = [this](test::TestRequest&) {
    door.pass();
    return Rows();
  };
  const auto answer = runOnRow("PER_SUBNODE", "", "one");
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(config.reportDeadline);

  const ActionStatus status = answer->status();
  EXPECT_EQ(status.state, State::Failed);
  EXPECT_EQ(status.message,
            "The row is not current: The collector has not answered within 2000 ms.");
}

TEST_F(ActionRowTest, WhatTheTableRefusesIsRefused) {
  startDesk();

  const RequestError table = runOnRow("PER_SUBNODES")->error();
  EXPECT_EQ(table.kind, Kind::UnknownTable);
  EXPECT_EQ(table.nearest, "PER_SUBNODE");
  const RequestError subnode = runOnRow("PER_SUBNODE", "", "onr")->error();
  EXPECT_EQ(subnode.kind, Kind::UnknownSubnode);
  EXPECT_EQ(subnode.nearest, "one");
  EXPECT_EQ(runOnRow("PER_SUBNODE", "N ==")->error().kind, Kind::BadWhere);
  EXPECT_TRUE(desk->recent().empty());
}

TEST_F(ActionRowTest, AnObjectThatIsNotMadeFailsTheCommand) {
  startDesk();
  ask("PER_SUBNODE", "one")->get();
  perSubnode.makesNothing = true;

  const ActionStatus status = runOnRow("PER_SUBNODE", "", "one")->status();

  EXPECT_EQ(status.state, State::Failed);
  EXPECT_EQ(status.message, "The agent made no request object.");
}

TEST_F(ActionRowTest, ALateCommandKeepsItsObjectAndDelaysNoSample) {
  std::atomic<int> deleted{-1};
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    door.pass();
    deleted = perSubnode.deleted.load();
    return completed(capsule, 0, capsule.owner->manager->tableName);
  };
  startDesk();
  const int before = perSubnode.deleted;
  const auto answer = runOnRow("PER_SUBNODE", "", "one");
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(settings.actions.deadline);

  EXPECT_EQ(answer->status().state, State::Late);
  EXPECT_FALSE(ask("PER_SUBNODE", "one")->get().rows.empty());
  EXPECT_EQ(perSubnode.deleted, before);
  door.open();
  ASSERT_TRUE(eventuallyLast(State::Completed));
  EXPECT_EQ(deleted, before);
  EXPECT_EQ(desk->recent().at(0).message, "PER_SUBNODE");
  EXPECT_TRUE(test::eventually([&] { return perSubnode.deleted == before + 1; }));
}

TEST_F(ActionRowTest, TheObjectIsMadeInTheTurnOfItsTableAndSubnode) {
  std::atomic<bool> sampled{false};
  perSubnode.sample = [&](test::TestRequest& request) {
    if (request.subnode() == "raw:one") {
      door.pass();
      sampled = true;
    }
    return Rows();
  };
  startDesk();
  const auto busy = ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));
  std::atomic<bool> opened{false};
  std::atomic<bool> inTurn{false};

  const auto wrong = engine->openRow("PER_SUBNODE", "one", std::string(perSubnode.rowSize, '\0'),
                                     [&](std::unique_ptr<RowObject> object, const std::string&) {
                                       inTurn = sampled && object != nullptr;
                                       opened = true;
                                     });
  ask("PER_SUBNODE", "two")->get();  // others have had their turn meanwhile

  EXPECT_FALSE(wrong);
  EXPECT_FALSE(opened);
  door.open();
  ASSERT_TRUE(test::eventually([&] { return opened.load(); }));
  EXPECT_TRUE(inTurn);
}

TEST_F(ActionRowTest, BehindACollectorThatIsStuckNothingIsOpened) {
  perSubnode.sample = [this](test::TestRequest&) {
    door.pass();
    return Rows();
  };
  startDesk();
  const auto stuck = ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));
  advance(config.stuckAfter);
  std::string told;

  engine->openRow("PER_SUBNODE", "one", std::string(perSubnode.rowSize, '\0'),
                  [&](std::unique_ptr<RowObject> object, const std::string& why) {
                    told = object == nullptr ? why : "opened";
                  });

  EXPECT_EQ(told, "The collector has not returned for 10 s.");
}

TEST_F(ActionRowTest, ARemovedTableIsWaitedForByItsCommands) {
  config.drainBound = 30s;
  s_agent = [this](VuiraAutomationCapsule& capsule) {
    door.pass();
    return completed(capsule, 0, capsule.owner->manager->tableName);
  };
  startDesk();
  const auto answer = runOnRow("PER_SUBNODE", "", "one");
  ASSERT_TRUE(door.awaitWaiting(1));
  std::atomic<bool> removed{false};
  std::thread remover([&] {
    engine->removeTable(perSubnode);
    removed = true;
  });
  ASSERT_TRUE(test::eventually([this] { return !engine->table("PER_SUBNODE"); }));

  EXPECT_FALSE(removed);
  door.open();

  remover.join();
  EXPECT_EQ(answer->status().state, State::Completed);
  EXPECT_EQ(perSubnode.created, perSubnode.deleted);
}

}  // namespace
}  // namespace fw
