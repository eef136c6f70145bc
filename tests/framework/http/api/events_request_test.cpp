#include "framework/http/server_fixture.h"
#include "support/event_batches.h"
#include "support/fake_desks.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

constexpr const char* kEvents = "/api/v1/tables/JVM_MEMORY/events";

class EventsRequestTest : public ServerFixture {
 protected:
  void SetUp() override {
    fill(5);
    agent.events = &feed;
    start();
  }

  /// Makes `count` events: those with even numbers of node-a, the others of node-b.
  void fill(std::uint64_t count) {
    std::vector<std::vector<Value>> rows;
    for (std::uint64_t seq = 1; seq <= count; ++seq) {
      rows.push_back({seq % 2 == 0 ? "node-a" : "node-b", static_cast<std::int64_t>(seq * 10)});
    }
    EventPage page;
    page.table = memory;
    page.blocks = {makeRows(*memory, rows)};
    for (std::uint64_t seq = 1; seq <= count; ++seq) {
      page.events.push_back({seq, Clock::WallTime{1'767'323'045'007ms},
                             page.blocks[0]->row(static_cast<std::uint32_t>(seq - 1))});
    }
    page.lastSeq = count;
    page.missed = 2;
    page.lost = 3;
    page.subscribed = true;
    feed.page = page;
  }

  std::vector<std::uint64_t> numbers(const nlohmann::json& json) {
    std::vector<std::uint64_t> all;
    for (const auto& event : json["events"]) {
      all.push_back(event["seq"]);
    }
    return all;
  }

  /// As the answer gives it, to go on after event `seq`.
  std::string position(std::uint64_t seq) {
    return JournalPosition{agent.journal().last().epoch, seq}.toText();
  }

  FakeEventFeed feed;
};

TEST_F(EventsRequestTest, GivesEventsWithTheirRows) {
  const HttpReply reply = get(kEvents);

  EXPECT_EQ(reply.status, 200);
  const auto json = parse(reply);
  EXPECT_EQ(json["table"], "JVM_MEMORY");
  EXPECT_EQ(json["last"], 5);
  EXPECT_EQ(json["missed"], 2);
  EXPECT_EQ(json["lost"], 3);
  EXPECT_EQ(json["subscribed"], true);
  EXPECT_EQ(json["returned"], 5);
  EXPECT_EQ(json["truncated"], false);
  EXPECT_EQ(json["next"], position(5));
  EXPECT_EQ(json["columns"][1], (nlohmann::json{{"name", "USED"}, {"type", "int64"}}));
  EXPECT_EQ(json["events"][1],
            (nlohmann::json{{"seq", 2},
                            {"time", "2026-01-02T03:04:05.007Z"},
                            {"values", {{"ORIGINNODE", "node-a"}, {"USED", 20}}}}));
}

TEST_F(EventsRequestTest, GoesOnWhereTheLastAnswerEnded) {
  const auto first = parse(get(std::string(kEvents) + "?limit=2"));
  const auto second = parse(get(std::string(kEvents) + "?limit=2&since=2"));
  const auto third = parse(get(std::string(kEvents) + "?limit=2&since=4"));

  EXPECT_EQ(numbers(first), (std::vector<std::uint64_t>{1, 2}));
  EXPECT_EQ(first["truncated"], true);
  EXPECT_EQ(first["next"], position(2));
  EXPECT_EQ(numbers(second), (std::vector<std::uint64_t>{3, 4}));
  EXPECT_EQ(second["next"], position(4));
  EXPECT_EQ(numbers(third), (std::vector<std::uint64_t>{5}));
  EXPECT_EQ(third["truncated"], false);
}

TEST_F(EventsRequestTest, GoesOnAfterThePositionOfAnAnswer) {
  const auto json = parse(get(std::string(kEvents) + "?since=" + position(3)));

  EXPECT_EQ(numbers(json), (std::vector<std::uint64_t>{4, 5}));
  EXPECT_EQ(json["reset"], false);
}

TEST_F(EventsRequestTest, APositionOfAnotherRunOfTheAgentBeginsAtTheOldestEvent) {
  const auto json = parse(get(std::string(kEvents) + "?since=1-3"));

  EXPECT_EQ(numbers(json), (std::vector<std::uint64_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(json["reset"], true);
  EXPECT_EQ(json["next"], position(5));
}

TEST_F(EventsRequestTest, ANumberBeyondTheNewestEventBeginsAtTheOldestEvent) {
  const auto json = parse(get(std::string(kEvents) + "?since=6"));

  EXPECT_EQ(numbers(json), (std::vector<std::uint64_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(json["reset"], true);
  EXPECT_EQ(parse(get(std::string(kEvents) + "?since=5"))["reset"], false);
}

TEST_F(EventsRequestTest, LimitsThoseThatPassTheFilter) {
  const auto some = parse(get(std::string(kEvents) + "?where=USED+%3E+10&limit=2"));
  const auto ofNode = parse(get(std::string(kEvents) + "?subnode=node-a"));
  const auto none = parse(get(std::string(kEvents) + "?where=USED+%3E+1000"));

  EXPECT_EQ(numbers(some), (std::vector<std::uint64_t>{2, 3}));
  EXPECT_EQ(some["truncated"], true);
  EXPECT_EQ(some["next"], position(3));
  EXPECT_EQ(numbers(ofNode), (std::vector<std::uint64_t>{2, 4}));
  EXPECT_EQ(ofNode["next"], position(5));
  EXPECT_EQ(none["events"], nlohmann::json::array());
  EXPECT_EQ(none["next"], position(5));
}

TEST_F(EventsRequestTest, StreamsManyEvents) {
  fill(50'000);

  const HttpReply reply = get(std::string(kEvents) + "?limit=100000");

  EXPECT_EQ(reply.header("transfer-encoding"), "chunked");
  EXPECT_EQ(parse(reply)["events"].size(), 50'000u);
}

TEST_F(EventsRequestTest, TellsWhatIsWrong) {
  const auto where = parse(get(std::string(kEvents) + "?where=UZED+%3E+1"));
  const auto limit = parse(get(std::string(kEvents) + "?limit=0"));
  const auto since = parse(get(std::string(kEvents) + "?since=-1"));
  const auto unknown = parse(get(std::string(kEvents) + "?form=1"));
  feed.page = RequestError{RequestError::Kind::NoEventTable, "It is sampled.", {}, ""};
  const HttpReply sampled = get(kEvents);

  EXPECT_EQ(where["type"], "urn:zel:problem:bad-where");
  EXPECT_EQ(where["nearest"], "USED");
  EXPECT_EQ(where["position"], 0);
  EXPECT_EQ(limit["type"], "urn:zel:problem:out-of-range");
  EXPECT_EQ(since["parameter"], "since");
  EXPECT_EQ(unknown["type"], "urn:zel:problem:unknown-parameter");
  EXPECT_EQ(sampled.status, 404);
  EXPECT_EQ(parse(sampled)["type"], "urn:zel:problem:no-event-table");
}

TEST_F(EventsRequestTest, KnowsNoSubnodesInATableOfTheAgent) {
  auto page = std::get<EventPage>(feed.page);
  page.table = own;
  page.events.clear();
  feed.page = page;

  const HttpReply reply = get("/api/v1/tables/AGENT_SELF/events?subnode=node-a");

  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:unknown-subnode");
}

}  // namespace
}  // namespace fw::http
