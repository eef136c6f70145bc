#include "situation_fixture.h"

namespace fw {
namespace {

class EventSituationTest : public SituationTest {
 protected:
  void beginWithAlarms() {
    begin();
    add(alarms);
  }

  void watchAlarms(const char* name, const char* where = "", Texts names = {}) {
    const int listed = alarms.listed();
    const int objects = names.empty() ? 1 : static_cast<int>(names.size());
    const auto wrong = watch(name, "ALARMS", where, std::move(names), 0s);
    ASSERT_FALSE(wrong) << wrong->message;
    ASSERT_TRUE(test::eventually([&] { return alarms.listed() == listed + objects; }));
    ASSERT_TRUE(test::eventually([&] { return statusOf(name).state == State::Armed; }));
  }

  void push(const std::string& origin, std::initializer_list<std::int64_t> levels) {
    test::TestTable::Rows rows;
    for (const std::int64_t level : levels) {
      rows.push_back(alarms.row({++sequence, origin, level}));
    }
    EXPECT_EQ(alarms.push(rows), 0);
  }

  bool awaitMatches(const char* name, std::uint64_t count) {
    return test::eventually([&] { return statusOf(name).matches == count; });
  }

  std::int64_t sequence = 0;
  test::TestTable alarms{"ALARMS", test::packed({{"EVENTSEQ", ColumnType::Int64, 0, 8},
                                                 {"ORIGINNODE", ColumnType::Chars, 0, 32},
                                                 {"LEVEL", ColumnType::Int32, 0, 4}})};
};

TEST_F(EventSituationTest, TheAgentGetsARequestObjectThatIsNeverSampled) {
  beginWithAlarms();
  subnodes.set({"one"});

  watchAlarms("High", "LEVEL > 5");

  const auto live = alarms.live();
  ASSERT_EQ(live.size(), 1U);
  EXPECT_STREQ(live[0]->situationName, "High");
  EXPECT_EQ(static_cast<test::TestRequest*>(live[0])->subnode(), "");
  pass(24h);
  EXPECT_EQ(alarms.samples, 0);
}

TEST_F(EventSituationTest, BatchesWithEventsThatPassAreToldAndCounted) {
  beginWithAlarms();
  watchAlarms("High", "LEVEL > 5");

  push("one", {7, 1, 8});
  ASSERT_TRUE(awaitMatches("High", 2));
  push("one", {1, 2});
  push("two", {9});
  ASSERT_TRUE(awaitMatches("High", 3));

  EXPECT_FALSE(statusOf("High").isTrue);
  EXPECT_EQ(awaitTold(3), (Texts{"High armed", "High armed", "High armed"}));
}

TEST_F(EventSituationTest, NamedSubnodesAreToldApartByTheOriginOfTheEvents) {
  beginWithAlarms();
  watchAlarms("High", "LEVEL > 5", {"one", "three"});

  push("one", {7, 1});
  push("two", {9, 9, 9});
  push("three", {6, 7});

  EXPECT_TRUE(awaitMatches("High", 3));
}

TEST_F(EventSituationTest, UnwatchingDeletesTheObjects) {
  situations.limit = 1;
  beginWithAlarms();
  watchAlarms("High", "", {"one", "two"});

  EXPECT_FALSE(desk->unwatch("High"));

  EXPECT_EQ(alarms.listed(), 0);
  awaitGone(alarms);
  EXPECT_EQ(awaitTold(2), (Texts{"High armed", "High disarming"}));
  EXPECT_TRUE(test::eventually([&] { return !watch("Next", "ALARMS", "", {}, 0s); }))
      << "its place is free when its objects have gone";
}

TEST_F(EventSituationTest, AnObjectThatIsNotMadeIsAProblem) {
  beginWithAlarms();
  alarms.makesNothing = true;
  ASSERT_FALSE(watch("High", "ALARMS", "", {}, 0s));

  EXPECT_TRUE(test::eventually(
      [&] { return statusOf("High").problem == "The agent made no request object."; }));
  EXPECT_EQ(statusOf("High").state, State::Arming);
}

TEST_F(EventSituationTest, AnIntervalIsRefused) {
  beginWithAlarms();

  const auto wrong = watch("High", "ALARMS", "", {}, 10s);

  ASSERT_TRUE(wrong);
  EXPECT_EQ(wrong->kind, Kind::BadInterval);
}

TEST_F(EventSituationTest, AtTheEndTheObjectsAreLeftAloneAndNobodyIsTold) {
  beginWithAlarms();
  watchAlarms("High");
  awaitTold(1);

  stop(30s);

  EXPECT_EQ(alarms.live().size(), 1U);
  EXPECT_EQ(told(), Texts{"High armed"});
}

}  // namespace
}  // namespace fw
