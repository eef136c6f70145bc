#include <atomic>
#include <future>

#include "engine_fixture.h"

namespace fw {
namespace {

using Kind = RequestError::Kind;
using State = ReportSample::State;
using Rows = test::TestTable::Rows;

class EngineSubnodeTest : public EngineTest {
 protected:
  EngineSubnodeTest() {
    perSubnode.sample = [this](test::TestRequest& request) {
      if (hangs.exchange(false)) {
        door.pass();
      }
      return Rows{perSubnode.row({request.subnode(), 1L})};
    };
    subnodes.set({"one", "two"});
  }

  std::atomic<bool> hangs{false};
};

TEST_F(EngineSubnodeTest, ClosingASubnodeDeletesItsRequestObjectsOnly) {
  startWithTables();
  ask("PER_SUBNODE")->get();
  ASSERT_EQ(perSubnode.created - perSubnode.deleted, 2);

  EXPECT_TRUE(engine->closeSubnode("raw:one", 30s));

  EXPECT_EQ(perSubnode.created - perSubnode.deleted, 1);
}

TEST_F(EngineSubnodeTest, ClosingWaitsForTheCallbackAndAnswersItsReport) {
  startWithTables();
  hangs = true;
  const auto waiting = ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_FALSE(engine->closeSubnode("raw:one", 1ms));

  const auto result = waiting->get();
  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[0].error, "The subnode has been deregistered.");
  auto closing =
      std::async(std::launch::async, [this] { return engine->closeSubnode("raw:one", 30s); });
  door.open();
  EXPECT_TRUE(closing.get());
  EXPECT_EQ(perSubnode.created, perSubnode.deleted);
}

TEST_F(EngineSubnodeTest, ACallbackThatClosesItsOwnSubnodeDoesNotWaitForItself) {
  startWithTables();
  std::atomic<bool> closed{false};
  perSubnode.sample = [&](test::TestRequest& request) {
    engine->closeSubnode(request.subnode(), 1ms);
    closed = true;
    return Rows();
  };

  ask("PER_SUBNODE", "one")->get();

  EXPECT_TRUE(test::eventually([&] { return closed && perSubnode.created == perSubnode.deleted; }));
}

TEST_F(EngineSubnodeTest, ASubnodeThatComesBackIsSampledAnewAndNotBesideItsOldCallback) {
  startWithTables();
  ask("PER_SUBNODE", "one")->get();
  advance(1s);
  hangs = true;
  ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));
  engine->closeSubnode("raw:one", 1ms);

  const auto again = ask("PER_SUBNODE", "one");
  advance(config.reportDeadline);
  EXPECT_EQ(again->get().samples[0].state, State::Failed) << "the rows before are forgotten";
  EXPECT_EQ(perSubnode.samples, 2);

  const auto third = ask("PER_SUBNODE", "one");
  door.open();
  EXPECT_EQ(third->get().samples[0].state, State::Fresh);
  EXPECT_EQ(perSubnode.samples, 3);
}

TEST_F(EngineSubnodeTest, RefusingAnswersEveryReportWithStopping) {
  startWithTables();
  hangs = true;
  const auto waiting = ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));

  engine->refuse();

  EXPECT_EQ(waiting->get().error->kind, Kind::Stopping);
  EXPECT_EQ(ask("OWN")->get().error->kind, Kind::Stopping);
}

TEST_F(EngineSubnodeTest, AClosedGateStartsNoCallback) {
  startWithTables();
  gate.close();

  const auto result = ask("PER_SUBNODE", "one")->get();

  EXPECT_EQ(result.samples[0].error, "The agent is stopping.");
  EXPECT_EQ(perSubnode.samples, 0);
  EXPECT_EQ(engine->table("PER_SUBNODE")->errors, 0U);
}

TEST_F(EngineSubnodeTest, AtTheEndObjectsAreDeletedExceptThoseOfStuckCallbacks) {
  startWithTables();
  ask("PER_SUBNODE", "two")->get();
  hangs = true;
  ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));
  gate.close();
  engine->refuse();

  engine->deleteObjects(100ms);

  EXPECT_EQ(perSubnode.created - perSubnode.deleted, 1);
  door.open();
  engine->stop(30s);
  EXPECT_EQ(perSubnode.created - perSubnode.deleted, 1)
      << "what its destructor would call may be gone by now";
  delete perSubnode.live().front();
}

}  // namespace
}  // namespace fw
