#include <atomic>
#include <map>
#include <mutex>
#include <set>

#include "engine_fixture.h"

namespace fw {
namespace {

using State = ReportSample::State;
using Rows = test::TestTable::Rows;
using Texts = std::vector<std::string>;

/// Collectors of the subnodes in `hanging` wait at the door.
class EngineSlowTest : public EngineTest {
 protected:
  EngineSlowTest() {
    perSubnode.sample = [this](test::TestRequest& request) {
      const std::string subnode = request.subnode();
      bool hangs = false;
      {
        const std::lock_guard lock(mutex);
        hangs = hanging.contains(subnode);
        ++count[subnode];
      }
      if (hangs) {
        door.pass();
      }
      return Rows{perSubnode.row({subnode, 1L})};
    };
  }

  void hang(const std::set<std::string>& names) {
    const std::lock_guard lock(mutex);
    hanging.clear();
    for (const std::string& name : names) {
      hanging.insert("raw:" + name);
    }
  }

  int samplesOf(const std::string& name) {
    const std::lock_guard lock(mutex);
    return count["raw:" + name];
  }

  std::mutex mutex;
  std::set<std::string> hanging;     // guarded by mutex
  std::map<std::string, int> count;  // guarded by mutex
};

TEST_F(EngineSlowTest, ASlowReportIsServedTheLastGoodRowsWithTheirAge) {
  startWithTables();
  subnodes.set({"one"});
  ask("PER_SUBNODE")->get();
  advance(3s);
  hang({"one"});
  const auto slow = ask("PER_SUBNODE");
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(config.reportDeadline - 1ms);
  EXPECT_FALSE(slow->isThere());
  advance(1ms);

  const auto result = slow->get();
  EXPECT_EQ(shown(result), Texts{"raw:one 1"});
  EXPECT_EQ(result.samples[0].state, State::Stale);
  EXPECT_EQ(result.samples[0].age, 5s);
  EXPECT_EQ(result.samples[0].error, "The collector has not answered within 2000 ms.");
  EXPECT_EQ(engine->table("PER_SUBNODE")->timeouts, 1U);
}

TEST_F(EngineSlowTest, ASlowReportWithoutLastRowsIsAFailedSample) {
  startWithTables();
  subnodes.set({"one"});
  hang({"one"});
  ReportRequest request;
  request.table = "PER_SUBNODE";
  request.deadline = 50ms;
  const auto slow = ask(request);
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(50ms);

  const auto result = slow->get();
  EXPECT_FALSE(result.error);
  EXPECT_TRUE(result.rows.empty());
  EXPECT_EQ(result.samples[0].state, State::Failed);
}

TEST_F(EngineSlowTest, ASlowReportWithFiltersIsServedTheMatchingLastGoodRows) {
  startWithTables();
  subnodes.set({"one"});
  ask("PER_SUBNODE")->get();
  advance(3s);
  hang({"one"});
  const auto matching = ask("PER_SUBNODE", {}, "ORIGINNODE = 'raw:one'");
  const auto other = ask("PER_SUBNODE", {}, "ORIGINNODE = 'raw:two'");
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(config.reportDeadline);

  EXPECT_EQ(matching->get().rows.size(), 1U);
  EXPECT_EQ(matching->get().samples[0].state, State::Stale);
  EXPECT_EQ(other->get().rows.size(), 0U);
}

TEST_F(EngineSlowTest, ASlowSubnodeDelaysNoOtherTableAndItsOwnReportsOnlyToTheDeadline) {
  startWithTables();
  subnodes.set({"one", "two"});
  hang({"one"});
  const auto both = ask("PER_SUBNODE");
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_FALSE(ask("OWN")->get().error);
  EXPECT_EQ(shown(ask("PER_SUBNODE", "two")->get()), Texts{"raw:two 1"});

  advance(config.reportDeadline);
  const auto result = both->get();
  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[1].state, State::Fresh);
  EXPECT_EQ(shown(result), Texts{"raw:two 1"});
}

TEST_F(EngineSlowTest, HangingCollectorsOnAllWorkersDelayOthersByTheGrowthTimeOnly) {
  config.sampleWorkers = 2;
  config.stuckWorkers = 2;
  startWithTables();
  subnodes.set({"a", "b", "c"});
  hang({"a", "b"});
  ask("PER_SUBNODE", "a");
  ask("PER_SUBNODE", "b");
  ASSERT_TRUE(door.awaitWaiting(2));
  const auto other = ask("PER_SUBNODE", "c");

  advance(WorkerLane::kGrowAfter);

  EXPECT_EQ(shown(other->get()), Texts{"raw:c 1"});
}

TEST_F(EngineSlowTest, AStuckCollectorIsShownReplacedAndNeverSampledTwiceAtOnce) {
  config.sampleWorkers = 1;
  config.stuckWorkers = 1;
  startWithTables();
  subnodes.set({"one", "two"});
  ask("PER_SUBNODE")->get();
  advance(1s);
  hang({"one"});
  ask("PER_SUBNODE", "one");
  ASSERT_TRUE(door.awaitWaiting(1));

  advance(config.stuckAfter);

  EXPECT_EQ(engine->table("PER_SUBNODE")->stuck, 1U);
  EXPECT_EQ(engine->lanes()[0].stuck, 1U);
  const auto stuck = ask("PER_SUBNODE", "one")->get();
  EXPECT_EQ(stuck.samples[0].state, State::Stale) << "at once, without a deadline";
  EXPECT_EQ(stuck.samples[0].age, 11s);
  EXPECT_EQ(stuck.samples[0].error, "The collector has not returned for 10 s.");
  EXPECT_EQ(shown(ask("PER_SUBNODE", "two")->get()), Texts{"raw:two 1"});
  EXPECT_EQ(samplesOf("one"), 2);
}

TEST_F(EngineSlowTest, AStuckCollectorThatReturnsIsSampledAgain) {
  startWithTables();
  subnodes.set({"one"});
  hang({"one"});
  ask("PER_SUBNODE");
  ASSERT_TRUE(door.awaitWaiting(1));
  advance(config.stuckAfter);
  hang({});

  door.open();

  ASSERT_TRUE(test::eventually([this] { return engine->table("PER_SUBNODE")->stuck == 0; }));
  advance(1s);
  EXPECT_EQ(ask("PER_SUBNODE")->get().samples[0].state, State::Fresh);
  EXPECT_EQ(perSubnode.created, 2) << "the object is the same";
}

TEST_F(EngineSlowTest, ASampleThatNobodyWaitsForAnyMoreIsNotTaken) {
  startWithTables();
  subnodes.set({"one"});
  hang({"one"});
  ask("PER_SUBNODE");
  ASSERT_TRUE(door.awaitWaiting(1));
  const auto filtered = ask("PER_SUBNODE", {}, "ORIGINNODE = x");
  advance(config.reportDeadline);
  filtered->get();
  ASSERT_TRUE(test::eventually([this] { return engine->reportsWaiting() == 0; }));
  hang({});

  door.open();
  ASSERT_TRUE(test::eventually([this] { return engine->table("PER_SUBNODE")->samples == 1; }));
  advance(config.coalesceAge + 1s);
  ask("PER_SUBNODE")->get();

  EXPECT_EQ(samplesOf("one"), 2) << "the second is the one that was asked for last";
}

TEST_F(EngineSlowTest, TooManyDifferentConditionsOnOneSubnodeAreRefusedVisibly) {
  startWithTables();
  subnodes.set({"one"});
  hang({"one"});
  ask("PER_SUBNODE");
  ASSERT_TRUE(door.awaitWaiting(1));
  for (int i = 0; i < 15; ++i) {
    ask("PER_SUBNODE", {}, ("ORIGINNODE = x" + std::to_string(i)).c_str());
  }

  const auto result = ask("PER_SUBNODE", {}, "ORIGINNODE = y")->get();

  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[0].error, "Too many different conditions are waiting for a sample.");
}

TEST_F(EngineSlowTest, AFullQueueIsAFailedSample) {
  config.sampleWorkers = 1;
  config.stuckWorkers = 0;
  config.queueLimit = 1;
  startWithTables();
  subnodes.set({"a", "b", "c"});
  hang({"a"});
  ask("PER_SUBNODE", "a");
  ASSERT_TRUE(door.awaitWaiting(1));
  ask("PER_SUBNODE", "b");

  const auto result = ask("PER_SUBNODE", "c")->get();

  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[0].error, "Too many samples are waiting for a worker.");
}

}  // namespace
}  // namespace fw
