#include <set>

#include "situation_fixture.h"

namespace fw {
namespace {

class SampledSituationTest : public SituationTest {};

TEST_F(SampledSituationTest, TheAgentGetsARequestObjectThatNamesTheSituation) {
  begin();
  subnodes.set({"one"});

  arm("Busy", "PER_SUBNODE", "N > 5");

  const auto live = perSubnode.live();
  ASSERT_EQ(live.size(), 1U);
  auto& request = *static_cast<test::TestRequest*>(live[0]);
  EXPECT_STREQ(request.situationName, "Busy");
  EXPECT_EQ(request.interval, 10U);
  EXPECT_EQ(request.definition, nullptr);
  EXPECT_EQ(request.subnode(), "raw:one");
  EXPECT_EQ(request.filters(), kNothing) << "a condition goes to the agent as no hint";
  EXPECT_EQ(request.IsHistoryRequest(), 0);
  EXPECT_EQ(told(), Texts{"Busy armed"});
  EXPECT_EQ(statusOf("Busy").state, State::Armed);
}

TEST_F(SampledSituationTest, ATableOfTheAgentsOwnIsWatchedWithoutASubnode) {
  begin();
  subnodes.set({"one", "two"});
  give("", 6);

  arm("Busy", "OWN", "N > 5");
  pass(10s);

  EXPECT_EQ(own.live().size(), 1U);
  EXPECT_TRUE(statusOf("Busy").isTrue);
  EXPECT_EQ(statusOf("Busy").trueFor, kNothing);
}

TEST_F(SampledSituationTest, ItIsSampledOncePerInterval) {
  begin();
  arm("Busy", "OWN");
  EXPECT_EQ(own.samples, 0);

  for (int round = 1; round <= 5; ++round) {
    pass(10s);
    EXPECT_EQ(own.samples, round);
  }

  EXPECT_EQ(own.created, 2) << "one to describe the table, one for all samples";
}

TEST_F(SampledSituationTest, TheFirstSampleOfALongIntervalComesWithinAMinute) {
  begin();
  ASSERT_FALSE(watch("Slow", "OWN", "", {}, 24h));
  awaitIdle();

  pass(1min);

  EXPECT_EQ(own.samples, 1);
}

TEST_F(SampledSituationTest, TheSamplesOfManySubnodesAreSpreadOverTheInterval) {
  begin();
  Texts names;
  for (int index = 0; index < 40; ++index) {
    names.push_back("node" + std::to_string(index));
  }
  subnodes.set(names);
  arm("Busy", "PER_SUBNODE");

  std::set<int> samples;
  for (int second = 0; second < 10; ++second) {
    pass(1s);
    samples.insert(perSubnode.samples);
  }

  EXPECT_EQ(perSubnode.samples, 40);
  EXPECT_GE(samples.size(), 5U) << "too many of them come at once";
}

TEST_F(SampledSituationTest, ItBecomesTrueAndFalseWithItsSamples) {
  begin();
  subnodes.set({"one", "two"});
  arm("Busy", "PER_SUBNODE", "N > 5");

  pass(10s);
  EXPECT_FALSE(statusOf("Busy").isTrue);
  give("one", 6);
  pass(10s);
  EXPECT_EQ(statusOf("Busy").trueFor, Texts{"one"});
  give("two", 7);
  pass(10s);
  EXPECT_EQ(statusOf("Busy").trueFor, (Texts{"one", "two"}));
  give("one", 0);
  pass(10s);
  EXPECT_TRUE(statusOf("Busy").isTrue) << "two is above still";
  give("two", 0);
  pass(10s);

  EXPECT_FALSE(statusOf("Busy").isTrue);
  EXPECT_EQ(statusOf("Busy").matches, 4U);
  EXPECT_EQ(awaitTold(5), (Texts{"Busy armed", "Busy armed true one", "Busy armed true one two",
                                 "Busy armed true two", "Busy armed"}));
}

TEST_F(SampledSituationTest, SinceIsWhenItBecameTrue) {
  begin();
  arm("Busy", "OWN", "N > 5");
  const auto armed = statusOf("Busy").since;
  pass(10s);
  EXPECT_EQ(statusOf("Busy").since, armed);

  give("", 6);
  pass(10s);
  const auto became = statusOf("Busy").since;
  pass(10s);

  EXPECT_GT(became, armed);
  EXPECT_EQ(statusOf("Busy").since, became);
}

TEST_F(SampledSituationTest, AnObjectThatIsNotMadeIsAProblemAndTriedAgain) {
  begin();
  own.makesNothing = true;
  arm("Busy", "OWN");
  EXPECT_EQ(statusOf("Busy").state, State::Arming);
  EXPECT_EQ(statusOf("Busy").problem, "OWN: The agent made no request object.");
  EXPECT_EQ(told(), kNothing);

  own.makesNothing = false;
  pass(10s);

  EXPECT_EQ(statusOf("Busy").state, State::Armed);
  EXPECT_EQ(statusOf("Busy").problem, "");
  EXPECT_EQ(own.samples, 1);
}

TEST_F(SampledSituationTest, ACallbackThatThrowsIsAProblemAndChangesNoTruth) {
  begin();
  give("", 6);
  arm("Busy", "OWN", "N > 5");
  pass(10s);
  ASSERT_TRUE(statusOf("Busy").isTrue);

  own.sample = [](test::TestRequest&) -> test::TestTable::Rows {
    throw std::runtime_error("It broke.");
  };
  pass(10s);

  EXPECT_TRUE(statusOf("Busy").isTrue);
  EXPECT_EQ(statusOf("Busy").problem, "OWN: It broke.");
  EXPECT_EQ(engine->table("OWN")->errors, 1U);
}

TEST_F(SampledSituationTest, ReportsAndSituationsOnOnePairTakeTurns) {
  begin();
  subnodes.set({"one"});
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  perSubnode.sample = [&](test::TestRequest& /*request*/) {
    overlapped = overlapped || ++inside > 1;
    std::this_thread::yield();
    --inside;
    return test::TestTable::Rows();
  };
  arm("A", "PER_SUBNODE");
  arm("B", "PER_SUBNODE");

  for (int round = 0; round < 50; ++round) {
    const auto answer = ask("PER_SUBNODE");
    pass(10s);
    answer->get();
  }

  EXPECT_FALSE(overlapped);
  EXPECT_GE(perSubnode.samples, 100);
}

TEST_F(SampledSituationTest, UnwatchingDeletesTheObjectsAndForgetsTheName) {
  begin();
  subnodes.set({"one", "two"});
  give("one", 6);
  arm("Busy", "PER_SUBNODE", "N > 5");
  pass(10s);

  EXPECT_FALSE(desk->unwatch("Busy"));

  EXPECT_FALSE(desk->situation("Busy"));
  awaitGone(perSubnode);
  const int before = perSubnode.samples;
  pass(60s);
  EXPECT_EQ(perSubnode.samples, before);
  EXPECT_EQ(awaitTold(3), (Texts{"Busy armed", "Busy armed true one", "Busy disarming"}));
  arm("Busy", "OWN");
  EXPECT_EQ(desk->situations().size(), 1U);
}

TEST_F(SampledSituationTest, UnwatchingAnUnknownNameSaysWhichIsNear) {
  begin();
  arm("HeapFull", "OWN");

  const auto wrong = desk->unwatch("HeapFul");

  ASSERT_TRUE(wrong);
  EXPECT_EQ(wrong->kind, Kind::UnknownSituation);
  EXPECT_EQ(wrong->message, "There is no situation 'HeapFul'. Did you mean HeapFull?");
  EXPECT_EQ(wrong->nearest, "HeapFull");
}

TEST_F(SampledSituationTest, SituationsAreListedInNameOrder) {
  begin();
  arm("b", "OWN");
  arm("a", "PER_SUBNODE");

  const auto all = desk->situations();

  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].request.name, "a");
  EXPECT_EQ(all[1].request.name, "b");
}

}  // namespace
}  // namespace fw
