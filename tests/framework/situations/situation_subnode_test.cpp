#include "situation_fixture.h"

namespace fw {
namespace {

class SituationSubnodeTest : public SituationTest {
 protected:
  /// As the agent does it: the subnode is not askable any more, and then its requests are closed.
  bool deregister(const std::string& name, const Texts& left, std::chrono::milliseconds bound) {
    subnodes.set(left);
    desk->closeSubnode("raw:" + name);
    return engine->closeSubnode("raw:" + name, bound);
  }

  void come(const Texts& names) {
    subnodes.set(names);
    desk->subnodesCame();
    awaitIdle();
  }

  std::size_t requestsOpen() { return perSubnode.live().size(); }
};

TEST_F(SituationSubnodeTest, WithoutSubnodesItIsArmedAndWaitsForThem) {
  begin();

  arm("Busy", "PER_SUBNODE");
  EXPECT_EQ(statusOf("Busy").state, State::Armed);
  EXPECT_EQ(statusOf("Busy").problem, "");
  EXPECT_EQ(requestsOpen(), 0U);

  come({"one", "two"});
  EXPECT_EQ(requestsOpen(), 2U);
  come({"one", "two", "three"});
  EXPECT_EQ(requestsOpen(), 3U);
}

TEST_F(SituationSubnodeTest, OnlyTheNamedSubnodesAreWatchedAndAbsentOnesAreWaitedFor) {
  begin();
  subnodes.set({"one", "other"});
  arm("Busy", "PER_SUBNODE", "", {"one", "two", "gone"});
  EXPECT_EQ(requestsOpen(), 1U);
  EXPECT_EQ(statusOf("Busy").problem, "It has gone. Subnode 'two' is not registered.");

  come({"gone", "one", "other", "two"});

  EXPECT_EQ(requestsOpen(), 3U);
  EXPECT_EQ(statusOf("Busy").problem, "");
  pass(10s);
  EXPECT_EQ(samplesOf("other"), 0);
  EXPECT_EQ(samplesOf("two"), 1);
}

TEST_F(SituationSubnodeTest, OfManyProblemsTheFirstAreTold) {
  begin();

  arm("Busy", "PER_SUBNODE", "", {"a", "b", "c", "d", "e"});

  EXPECT_EQ(statusOf("Busy").problem,
            "Subnode 'a' is not registered. Subnode 'b' is not registered. Subnode 'c' is not "
            "registered. And 2 more.");
}

TEST_F(SituationSubnodeTest, ASubnodeThatGoesIsClosedAndNotTrueAnyMore) {
  begin();
  subnodes.set({"one", "two"});
  give("one", 6);
  arm("Busy", "PER_SUBNODE", "N > 5");
  pass(10s);
  ASSERT_TRUE(statusOf("Busy").isTrue);

  EXPECT_TRUE(deregister("one", {"two"}, 30s));

  EXPECT_EQ(requestsOpen(), 1U);
  EXPECT_FALSE(statusOf("Busy").isTrue);
  EXPECT_EQ(awaitTold(3), (Texts{"Busy armed", "Busy armed true one", "Busy armed"}));
  const int before = samplesOf("one");
  pass(60s);
  EXPECT_EQ(samplesOf("one"), before);
}

TEST_F(SituationSubnodeTest, ASubnodeThatComesBackIsWatchedAnew) {
  begin();
  subnodes.set({"one"});
  arm("Busy", "PER_SUBNODE");
  ASSERT_TRUE(deregister("one", {}, 30s));
  ASSERT_EQ(requestsOpen(), 0U);

  come({"one"});

  EXPECT_EQ(requestsOpen(), 1U);
  pass(10s);
  EXPECT_EQ(samplesOf("one"), 1);
}

TEST_F(SituationSubnodeTest, DeregisteringWaitsForASampleThatRuns) {
  begin();
  subnodes.set({"one"});
  hang("one");
  arm("Busy", "PER_SUBNODE");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_FALSE(deregister("one", {}, 1ms));
  EXPECT_EQ(requestsOpen(), 1U) << "its callback runs";

  door.open();
  awaitGone(perSubnode);
}

TEST_F(SituationSubnodeTest, ARequestIsNotOpenedAnewBeforeTheHangingOneHasGone) {
  begin();
  subnodes.set({"one"});
  hang("one");
  arm("Busy", "PER_SUBNODE");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));
  const int created = perSubnode.created;

  for (int round = 0; round < 3; ++round) {
    deregister("one", {}, 1ms);
    subnodes.set({"one"});
    desk->subnodesCame();
  }

  EXPECT_EQ(perSubnode.created, created);
  advance(30s);
  EXPECT_EQ(statusOf("Busy").missed, 0U) << "nobody waits to be sampled behind it";
  hang("nobody");
  door.open();
  ASSERT_TRUE(test::eventually([&] { return perSubnode.created == created + 1; }));
  awaitIdle();
  EXPECT_EQ(requestsOpen(), 1U);
  pass(10s);
  EXPECT_EQ(samplesOf("one"), 2);
}

TEST_F(SituationSubnodeTest, ASampleThatEndsAfterItsSubnodeWentChangesNothing) {
  begin();
  subnodes.set({"one"});
  give("one", 6);
  hang("one");
  arm("Busy", "PER_SUBNODE", "N > 5");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));
  deregister("one", {}, 1ms);

  door.open();
  awaitGone(perSubnode);
  awaitIdle();

  EXPECT_FALSE(statusOf("Busy").isTrue);
  EXPECT_EQ(statusOf("Busy").matches, 0U);
}

TEST_F(SituationSubnodeTest, AStuckSubnodeIsAProblemIsNotSampledTwiceAndDelaysNoOther) {
  begin();
  subnodes.set({"one", "two"});
  hang("one");
  arm("Busy", "PER_SUBNODE");
  arm("Idle", "PER_SUBNODE");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));
  awaitBusy(1);

  for (int round = 0; round < 5; ++round) {
    advance(10s);
    awaitBusy(1);
  }

  EXPECT_EQ(samplesOf("one"), 1);
  EXPECT_EQ(samplesOf("two"), 12) << "six times for each situation";
  const auto busy = statusOf("Busy");
  EXPECT_TRUE(busy.problem.starts_with("The collector of PER_SUBNODE of one has not returned for "))
      << busy.problem;
  EXPECT_EQ(busy.missed, 5U);
  EXPECT_EQ(engine->table("PER_SUBNODE")->stuck, 1U);
  hang("nobody");
  door.open();
  awaitIdle();
  EXPECT_EQ(samplesOf("one"), 2) << "the other situation's sample has waited; none was queued";
  EXPECT_EQ(statusOf("Busy").problem, "");
}

TEST_F(SituationSubnodeTest, MomentsThatTheClockJumpsOverAreMissed) {
  begin();
  arm("Busy", "OWN");
  pass(10s);
  ASSERT_EQ(own.samples, 1);

  pass(100s);

  EXPECT_EQ(own.samples, 2);
  EXPECT_EQ(statusOf("Busy").missed, 9U);
}

}  // namespace
}  // namespace fw
