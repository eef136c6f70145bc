#include "events/event_query.h"

#include <gtest/gtest.h>

#include "support/event_batches.h"
#include "support/fake_agent.h"
#include "support/fake_desks.h"

namespace fw {
namespace {

using Numbers = std::vector<std::uint64_t>;

/// Five events: those with even numbers of node-a, the others of node-b.
class EventQueryTest : public testing::Test {
 protected:
  EventQueryTest() {
    EventPage page;
    page.table = makeTable(
        "ALARMS", {{"ORIGINNODE", ColumnType::Chars, 0, 32}, {"LEVEL", ColumnType::Int64, 0, 8}});
    std::vector<std::vector<Value>> rows;
    for (std::int64_t seq = 1; seq <= 5; ++seq) {
      rows.push_back({seq % 2 == 0 ? "node-a" : "node-b", seq * 10});
    }
    page.blocks = {makeRows(*page.table, rows)};
    for (std::uint32_t row = 0; row < 5; ++row) {
      page.events.push_back({row + 1, {}, page.blocks[0]->row(row)});
    }
    page.lastSeq = 5;
    feed.page = std::move(page);
  }

  EventAnswer ask(const EventQuery& query) {
    auto answer = queryEvents(feed, query);
    EXPECT_TRUE(std::holds_alternative<EventAnswer>(answer));
    return std::get<EventAnswer>(std::move(answer));
  }

  RequestError refusal(const EventQuery& query) {
    auto answer = queryEvents(feed, query);
    EXPECT_TRUE(std::holds_alternative<RequestError>(answer));
    return std::get<RequestError>(std::move(answer));
  }

  static Numbers numbers(const EventAnswer& answer) {
    Numbers all;
    for (const TableEvent& event : answer.page.events) {
      all.push_back(event.seq);
    }
    return all;
  }

  FakeEventFeed feed;
};

TEST_F(EventQueryTest, GivesEventsAfterANumber) {
  const EventAnswer answer = ask({.table = "ALARMS", .since = 3});

  EXPECT_EQ(numbers(answer), (Numbers{4, 5}));
  EXPECT_EQ(answer.next, 5u);
  EXPECT_FALSE(answer.truncated);
  EXPECT_FALSE(answer.reset);
}

TEST_F(EventQueryTest, TellsWhereAQueryForTheRestBegins) {
  const EventAnswer first = ask({.table = "ALARMS", .limit = 2});
  const EventAnswer last = ask({.table = "ALARMS", .since = 3, .limit = 2});

  EXPECT_EQ(numbers(first), (Numbers{1, 2}));
  EXPECT_EQ(first.next, 2u);
  EXPECT_TRUE(first.truncated);
  EXPECT_EQ(last.next, 5u);
  EXPECT_FALSE(last.truncated);
}

TEST_F(EventQueryTest, BeginsAtTheOldestEventWhenNothingFollowsTheNumber) {
  const EventAnswer otherRun = ask({.table = "ALARMS", .since = 3, .otherRun = true});
  const EventAnswer beyond = ask({.table = "ALARMS", .since = 6});

  EXPECT_TRUE(otherRun.reset);
  EXPECT_EQ(numbers(otherRun), (Numbers{1, 2, 3, 4, 5}));
  EXPECT_TRUE(beyond.reset);
  EXPECT_EQ(numbers(beyond), (Numbers{1, 2, 3, 4, 5}));
  EXPECT_FALSE(ask({.table = "ALARMS", .since = 5}).reset);
}

TEST_F(EventQueryTest, LimitsThoseThatPassTheFilter) {
  const EventAnswer some = ask({.table = "ALARMS", .limit = 2, .where = "LEVEL > 10"});
  const EventAnswer ofNode = ask({.table = "ALARMS", .subnode = "node-a"});
  const EventAnswer none = ask({.table = "ALARMS", .where = "LEVEL > 1000"});

  EXPECT_EQ(numbers(some), (Numbers{2, 3}));
  EXPECT_TRUE(some.truncated);
  EXPECT_EQ(some.next, 3u);
  EXPECT_EQ(numbers(ofNode), (Numbers{2, 4}));
  EXPECT_EQ(ofNode.next, 5u) << "what does not pass needs no second look";
  EXPECT_EQ(numbers(none), Numbers());
  EXPECT_EQ(none.next, 5u);
}

TEST_F(EventQueryTest, SaysWhyAFilterCantBeUsed) {
  EXPECT_EQ(refusal({.table = "ALARMS", .where = "LEFEL > 1"}).nearest, "LEVEL");

  std::get<EventPage>(feed.page).table = makeTable("OWN", {{"LEVEL", ColumnType::Int64, 0, 8}});
  EXPECT_EQ(refusal({.table = "OWN", .subnode = "node-a"}).kind,
            RequestError::Kind::UnknownSubnode);

  feed.page = RequestError{RequestError::Kind::NoEventTable, "It is sampled.", {}, ""};
  EXPECT_EQ(refusal({.table = "OWN"}).kind, RequestError::Kind::NoEventTable);
}

}  // namespace
}  // namespace fw
