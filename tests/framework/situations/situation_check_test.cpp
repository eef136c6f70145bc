#include "situation_fixture.h"

namespace fw {
namespace {

class SituationCheckTest : public SituationTest {
 protected:
  RequestError refusal(const char* name, const char* table, const char* where = "",
                       std::vector<std::string> names = {}, std::chrono::seconds interval = 10s) {
    const auto wrong = watch(name, table, where, std::move(names), interval);
    EXPECT_TRUE(wrong) << name;
    EXPECT_EQ(desk->situations().size(), 0U);
    return wrong.value_or(RequestError());
  }
};

TEST_F(SituationCheckTest, ANameHasALetterOrDigitAndThenAFewMore) {
  begin();
  for (const char* name : {"", "*EVENTS", "-a", ".a", "_a", "a b", "a/b", "\xC3\xA4",
                           "a2345678901234567890123456789012"}) {
    EXPECT_EQ(refusal(name, "OWN").kind, Kind::BadName) << name;
  }
  for (const char* name : {"a", "7", "a_b-c.D", "a234567890123456789012345678901"}) {
    EXPECT_FALSE(watch(name, "OWN")) << name;
  }
}

TEST_F(SituationCheckTest, AnUnknownTableIsRefusedWithTheNearestName) {
  begin();

  const auto wrong = refusal("S", "OWM");

  EXPECT_EQ(wrong.kind, Kind::UnknownTable);
  EXPECT_EQ(wrong.nearest, "OWN");
}

TEST_F(SituationCheckTest, AWrongConditionIsRefusedWithItsPosition) {
  begin();

  const auto wrong = refusal("S", "OWN", "N > 5 and M = 2");

  EXPECT_EQ(wrong.kind, Kind::BadWhere);
  EXPECT_EQ(wrong.position, 10U);
}

TEST_F(SituationCheckTest, SubnodesOfAnOwnTableAreRefused) {
  begin();

  const auto wrong = refusal("S", "OWN", "", {"one"});

  EXPECT_EQ(wrong.kind, Kind::UnknownSubnode);
  EXPECT_EQ(wrong.message, "Table OWN belongs to the agent itself: watch it without subnodes.");
}

TEST_F(SituationCheckTest, WhatCanBeNoSubnodeIsRefused) {
  config.subnodeLimit = 2;
  begin();

  EXPECT_EQ(refusal("S", "PER_SUBNODE", "", {""}).kind, Kind::UnknownSubnode);
  EXPECT_EQ(refusal("S", "PER_SUBNODE", "", {std::string(97, 'x')}).kind, Kind::UnknownSubnode);
  EXPECT_EQ(refusal("S", "PER_SUBNODE", "", {"a", "b", "c"}).kind, Kind::UnknownSubnode);
  EXPECT_FALSE(watch("S", "PER_SUBNODE", "", {"a", "b", "a", "b"}));
  EXPECT_EQ(statusOf("S").request.subnodes, (Texts{"a", "b"}));
}

TEST_F(SituationCheckTest, AnIntervalIsASecondToADayAndAMinuteWithoutOne) {
  begin();

  EXPECT_EQ(refusal("S", "OWN", "", {}, -1s).kind, Kind::BadInterval);
  EXPECT_EQ(refusal("S", "OWN", "", {}, 86401s).kind, Kind::BadInterval);
  EXPECT_EQ(refusal("S", "OWN", "", {}, std::chrono::seconds::max()).kind, Kind::BadInterval);
  EXPECT_FALSE(watch("Short", "OWN", "", {}, 1s));
  EXPECT_FALSE(watch("Long", "OWN", "", {}, 86400s));
  EXPECT_FALSE(watch("None", "OWN", "", {}, 0s));
  EXPECT_EQ(statusOf("None").request.interval, 60s);
}

TEST_F(SituationCheckTest, ANameThatIsTakenIsRefused) {
  begin();
  arm("S", "OWN");

  const auto wrong = watch("S", "PER_SUBNODE");

  ASSERT_TRUE(wrong);
  EXPECT_EQ(wrong->kind, Kind::Duplicate);
  EXPECT_EQ(statusOf("S").request.table, "OWN");
}

TEST_F(SituationCheckTest, NoMoreSituationsAreWatchedThanTheLimit) {
  situations.limit = 2;
  begin();
  arm("A", "OWN");
  arm("B", "OWN");

  const auto wrong = watch("C", "OWN");
  ASSERT_TRUE(wrong);
  EXPECT_EQ(wrong->kind, Kind::Busy);

  ASSERT_FALSE(desk->unwatch("A"));
  awaitIdle();
  EXPECT_FALSE(watch("C", "OWN"));
}

TEST_F(SituationCheckTest, SituationsThatAreStillEndingCountToo) {
  situations.limit = 1;
  begin();
  subnodes.set({"one"});
  hang("one");
  arm("A", "PER_SUBNODE");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));
  ASSERT_FALSE(desk->unwatch("A"));

  EXPECT_EQ(refusal("B", "OWN").kind, Kind::Busy);

  door.open();
  awaitGone(perSubnode);
  awaitIdle();
  EXPECT_FALSE(watch("B", "OWN"));
}

TEST_F(SituationCheckTest, NothingIsWatchedBeforeTheTableIsDescribedOrWhenTheAgentStops) {
  beginWithoutTables();
  own.made = [this](test::TestRequest&) { door.pass(); };
  ASSERT_EQ(engine->addTable(own), 0);
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_EQ(refusal("S", "OWN").kind, Kind::NotReady);
  desk->refuse();
  EXPECT_EQ(refusal("S", "OWN").kind, Kind::Stopping);
  EXPECT_EQ(desk->unwatch("S")->kind, Kind::Stopping);
}

}  // namespace
}  // namespace fw
