#include "events/event_logs.h"

#include "events_fixture.h"

namespace fw {
namespace {

using Kind = RequestError::Kind;

class EventLogsTest : public EventsTest {
 protected:
  void startSubscribed() {
    start();
    add(alarms);
    ASSERT_TRUE(awaitListed(1));
    ASSERT_TRUE(test::eventually([this] { return page().subscribed; }));
  }

  EventPage page(std::uint64_t since = 0, std::uint32_t limit = 100) {
    auto found = logs->events("ALARMS", since, limit);
    EXPECT_TRUE(std::holds_alternative<EventPage>(found));
    return std::get<EventPage>(std::move(found));
  }

  RequestError refusal(const std::string& table) {
    auto found = logs->events(table, 0, 10);
    EXPECT_TRUE(std::holds_alternative<RequestError>(found));
    return std::get<RequestError>(std::move(found));
  }
};

TEST_F(EventLogsTest, SubscribesToAnEventTableOnceItIsDescribed) {
  std::string name;
  alarms.made = [&](test::TestRequest& request) { name = request.situationName; };

  startSubscribed();

  EXPECT_EQ(name, "*EVENTS");
}

TEST_F(EventLogsTest, LeavesTablesThatAreSampledAlone) {
  static test::TestTable narrow("NARROW", test::packed({{"EVENTSEQ", ColumnType::Int32, 0, 4}}));
  start();
  add(own);
  add(narrow);

  EXPECT_EQ(set->size(), 0U);
  EXPECT_FALSE(engine->table("OWN")->info->events);
  EXPECT_FALSE(engine->table("NARROW")->info->events) << "numbers of events have 64 bits";
  engine->removeTable(narrow);
}

TEST_F(EventLogsTest, KeepsWhatIsPushedAndTellsTheJournal) {
  startSubscribed();

  alarms.push({eventRow(1), eventRow(2)});
  alarms.push({eventRow(5)});

  ASSERT_TRUE(test::eventually([this] { return page().lastSeq == 3; }));
  EXPECT_EQ(page(1).events.size(), 2U);
  EXPECT_EQ(page().lost, 2U);
  EXPECT_EQ(page().events[0].time, clock.wall());
  ASSERT_TRUE(test::eventually([this] { return journal.last().number == 2; }));
  const auto entries = journal.after({journal.last().epoch, 0}, 10).entries;
  const auto& batch = std::get<EventBatch>(entries[1]->what);
  EXPECT_EQ(batch.table->name, "ALARMS");
  EXPECT_EQ(numbersOf(*batch.rows), std::vector<std::int64_t>{5});
  EXPECT_EQ(batch.firstSeq, 3U);
  EXPECT_EQ(batch.lost, 2U);
}

TEST_F(EventLogsTest, KeepsAsManyEventsAsConfigured) {
  events.keep = 2;
  startSubscribed();

  alarms.push({eventRow(1), eventRow(2), eventRow(3)});

  ASSERT_TRUE(test::eventually([this] { return page().lastSeq == 3; }));
  EXPECT_EQ(page().events.size(), 2U);
  EXPECT_EQ(page().missed, 1U);
}

TEST_F(EventLogsTest, WithoutSubscribingNothingComesIn) {
  startUnsubscribed();

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_FALSE(page().subscribed);
  EXPECT_EQ(page().table->name, "ALARMS");
}

TEST_F(EventLogsTest, ReportsOnAnEventTableStillSampleIt) {
  startSubscribed();

  const ReportResult result = ask("ALARMS")->get();

  EXPECT_FALSE(result.error);
  EXPECT_EQ(result.samples.size(), 1U);
  EXPECT_EQ(alarms.samples, 1);
}

TEST_F(EventLogsTest, SaysWhyThereAreNoEvents) {
  startSubscribed();
  add(own);

  EXPECT_EQ(refusal("OWN").kind, Kind::NoEventTable);
  EXPECT_EQ(refusal("ALARM").kind, Kind::UnknownTable);
  EXPECT_EQ(refusal("ALARM").nearest, "ALARMS");
}

TEST_F(EventLogsTest, ATableThatGoesTakesItsEventsAlong) {
  startSubscribed();
  alarms.push({eventRow(1)});
  ASSERT_TRUE(test::eventually([this] { return page().lastSeq == 1; }));

  engine->removeTable(alarms);

  EXPECT_EQ(refusal("ALARMS").kind, Kind::UnknownTable);
  EXPECT_EQ(alarms.created, alarms.deleted);
}

}  // namespace
}  // namespace fw
