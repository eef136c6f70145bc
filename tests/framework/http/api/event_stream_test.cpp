#include "http/api/event_stream.h"

#include <gtest/gtest.h>

#include "http/server/response.h"
#include "support/event_batches.h"
#include "support/fake_agent.h"
#include "support/manual_clock.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class EventStreamTest : public testing::Test {
 protected:
  /// What a stream that has said its greeting tells next.
  static std::string next(EventStream& stream) {
    std::string out;
    stream.next(out);
    return out;
  }

  EventStream greeted(StreamFilter filter = {}) {
    EventStream stream(journal, std::move(filter), journal.last());
    next(stream);
    return stream;
  }

  void addEvent(std::uint64_t seq) { journal.add(makeBatch(table, seq, {{std::int64_t{42}}})); }
  void addSubnode(const std::string& name) {
    SubnodeInfo subnode;
    subnode.name = name;
    subnode.since = clock.wall();
    journal.add(subnode);
  }

  static std::size_t count(const std::string& text, const std::string& what) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; ++at) {
      ++found;
    }
    return found;
  }

  ManualClock clock;
  Journal journal{clock, 5};
  std::shared_ptr<const TableInfo> table = makeTable("T", {{"USED", ColumnType::Int64, 0, 8}});
  const std::string epoch = std::to_string(journal.last().epoch);
};

TEST_F(EventStreamTest, BeginsWithItsPosition) {
  EventStream stream(journal, {}, journal.last());

  EXPECT_EQ(next(stream), "retry: 2000\nid: " + epoch + "-0\n\n");
  EXPECT_EQ(next(stream), "");
}

TEST_F(EventStreamTest, TellsEventsWithTheirRows) {
  EventStream stream = greeted();
  EventBatch batch = makeBatch(table, 7, {{std::int64_t{42}}, {std::monostate{}}});
  batch.time = clock.wall();
  batch.lost = 3;
  journal.add(batch);

  EXPECT_EQ(next(stream),
            "event: event\ndata: {\"table\":\"T\",\"lost\":3,\"events\":["
            "{\"seq\":7,\"time\":\"2026-01-02T03:04:05.000Z\",\"values\":{\"USED\":42}},"
            "{\"seq\":8,\"time\":\"2026-01-02T03:04:05.000Z\",\"values\":{\"USED\":null}}]}\n"
            "id: " +
                epoch + "-1\n\n");
}

TEST_F(EventStreamTest, TellsWhatHappensToSubnodesSituationsAndActions) {
  EventStream stream = greeted();
  SituationStatus situation;
  situation.request.name = "HIGH";
  ActionStatus action;
  action.id = 9;
  addSubnode("a\nb");
  journal.add(situation);
  journal.add(action);

  const std::string text = next(stream);

  EXPECT_NE(text.find("event: subnode\ndata: {\"time\":\"2026-01-02T03:04:05.000Z\",\"name\":"
                      "\"a\\nb\",\"state\":\"online\""),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("event: situation\ndata: {\"time\""), std::string::npos);
  EXPECT_NE(text.find("\"name\":\"HIGH\""), std::string::npos);
  EXPECT_NE(text.find("event: action\ndata: {\"time\""), std::string::npos);
  EXPECT_NE(text.find("\"id\":9"), std::string::npos);
  EXPECT_EQ(text.substr(text.rfind("id: ")), "id: " + epoch + "-3\n\n");
}

TEST_F(EventStreamTest, LeavesOutWhatIsNotWantedButMovesOn) {
  EventStream kinds = greeted({{"subnode"}, {}});
  EventStream tables = greeted({{}, {"T"}});
  addSubnode("a");
  addEvent(1);

  const std::string ofKind = next(kinds);
  const std::string ofTable = next(tables);

  EXPECT_EQ(count(ofKind, "event: "), 1u);
  EXPECT_EQ(count(ofKind, "event: subnode"), 1u);
  EXPECT_EQ(count(ofTable, "event: "), 1u);
  EXPECT_EQ(count(ofTable, "event: event"), 1u);
  std::string beat;
  kinds.beat(beat);
  EXPECT_EQ(beat, ": alive\nid: " + epoch + "-2\n\n");
}

TEST_F(EventStreamTest, TellsOnceHowManyItHasMissed) {
  EventStream stream = greeted();
  for (std::uint64_t i = 1; i <= 12; ++i) {
    addEvent(i);
  }

  const std::string text = next(stream);

  EXPECT_EQ(text.substr(0, text.find("event: event")),
            "event: missed\ndata: {\"missed\":7,\"reset\":false}\nid: " + epoch + "-7\n\n");
  EXPECT_EQ(count(text, "event: event"), 5u);
  EXPECT_EQ(next(stream), "");
}

TEST_F(EventStreamTest, StartsOverForAPositionOfAnotherRun) {
  addEvent(1);
  addEvent(2);
  EventStream stream(journal, {}, {1234, 99});

  const std::string text = next(stream);

  EXPECT_NE(
      text.find("event: missed\ndata: {\"missed\":null,\"reset\":true}\nid: " + epoch + "-0\n\n"),
      std::string::npos)
      << text;
  EXPECT_EQ(count(text, "event: event"), 2u);
  EXPECT_EQ(next(stream), "");
}

TEST_F(EventStreamTest, TellsALongBatchInBoundedPiecesAndItsPositionAtTheEnd) {
  EventStream stream = greeted();
  journal.add(makeBatch(
      table, 1, std::vector<std::vector<Value>>(10'000, {Value(std::int64_t{1'000'000'000'000})})));
  std::string all;
  std::size_t longest = 0;
  std::size_t pieces = 0;

  for (std::string piece = next(stream); !piece.empty(); piece = next(stream)) {
    longest = std::max(longest, piece.size());
    all += piece;
    ++pieces;
  }

  EXPECT_GT(pieces, 10u);
  EXPECT_LT(longest, kPieceSize + 1024);
  EXPECT_EQ(count(all, "\"seq\":"), 10'000u);
  EXPECT_EQ(count(all, "id: "), 1u);
  EXPECT_EQ(all.substr(all.rfind("id: ")), "id: " + epoch + "-1\n\n");
}

TEST_F(EventStreamTest, BeatsWithItsPositionOnlyWhenThatIsNews) {
  EventStream stream = greeted();
  std::string beat;

  stream.beat(beat);

  EXPECT_EQ(beat, ": alive\n\n");
}

}  // namespace
}  // namespace fw::http
