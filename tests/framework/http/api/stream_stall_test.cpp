#include "framework/http/server_fixture.h"
#include "runtime/process_memory.h"
#include "support/event_batches.h"
#include "support/manual_clock.h"
#include "support/sanitized.h"
#include "support/sse_client.h"
#include "support/test_table.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

/// Streams on a clock that the test turns.
class StreamStallTest : public ServerFixture {
 protected:
  void SetUp() override {
    clock = &time;
    options.sweepPeriod = 5ms;
    agent.happenings = std::make_unique<Journal>(Clock::system(), 100);
    wide = makeTable("WIDE", {{"TEXT", ColumnType::Utf8, 0, 4000}});
    agent.addTable(wide);
    start();
  }

  // The server looks at the clock until it ends, and the clock goes before the base class does.
  void TearDown() override { server.reset(); }

  std::unique_ptr<SseClient> listen(const std::string& target = "/api/v1/stream") {
    auto client = std::make_unique<SseClient>(server->port(), target);
    EXPECT_TRUE(client->head());
    EXPECT_TRUE(client->next());
    return client;
  }

  void add(std::uint64_t number) {
    agent.happenings->add(makeBatch(wide, number, {{std::string(4000, 'x')}}));
  }

  ManualClock time;
  std::shared_ptr<const TableInfo> wide;
};

TEST_F(StreamStallTest, ShowsThatItLivesFromTimeToTime) {
  const auto client = listen();

  time.advance(15s);
  const auto first = client->next();
  time.advance(15s);
  const auto second = client->next();

  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->comment, "alive");
  EXPECT_EQ(second->comment, "alive");
}

TEST_F(StreamStallTest, KeepsAnIdleStreamThatTakesItsSignsOfLife) {
  const auto client = listen();

  for (int i = 0; i < 20; ++i) {
    time.advance(61s);
    ASSERT_TRUE(client->next()) << i;
    client->acknowledge();
  }

  EXPECT_EQ(server->counters().streamsCut, 0u);
}

TEST_F(StreamStallTest, LetsASlowClientFallBehindWithoutHarmToOthers) {
  constexpr std::uint64_t kEntries = 5'000;  // 20 MB
  const auto slow = listen();
  const auto quick = listen();
  const std::uint64_t before = residentBytes();
  std::uint64_t quickSeen = 0;

  for (std::uint64_t i = 1; i <= kEntries; ++i) {
    add(i);
    if (i % 50 == 0) {
      while (quickSeen < i) {
        const auto message = quick->nextEvent();
        ASSERT_TRUE(message);
        ASSERT_EQ(message->event, "event");
        quickSeen = message->data["events"][0]["seq"];
      }
    }
  }
  const std::uint64_t after = residentBytes();
  std::uint64_t told = 0;
  std::uint64_t missed = 0;
  while (told + missed < kEntries) {
    const auto message = slow->nextEvent();
    ASSERT_TRUE(message);
    if (message->event == "missed") {
      missed += message->data["missed"].get<std::uint64_t>();
    } else {
      ++told;
      ASSERT_EQ(message->data["events"][0]["seq"], told + missed);
    }
  }

  EXPECT_EQ(quickSeen, kEntries);
  EXPECT_GT(missed, 0u);
  if (!kIsSanitized) {
    EXPECT_LT(after, before + (8U << 20U));
  }
}

TEST_F(StreamStallTest, CutsAClientThatTakesNothing) {
  const auto stuck = listen();

  // Its buffers fill up; from then on it takes nothing.
  const auto bound = std::chrono::steady_clock::now() + 20s;
  std::uint64_t number = 0;
  while (server->counters().streamsCut == 0 && std::chrono::steady_clock::now() < bound) {
    add(++number);
    if (number % 1000 == 0) {
      time.advance(61s);
    }
  }

  EXPECT_EQ(server->counters().streamsCut, 1u);
  EXPECT_TRUE(stuck->connection().waitClosed());
  EXPECT_EQ(server->counters().requestsLate, 0u);
}

TEST_F(StreamStallTest, CutsAClientThatTakesNothingAndHasClosedItsSide) {
  const auto stuck = listen();
  for (std::uint64_t i = 1; i <= 5'000; ++i) {
    add(i);
  }
  ASSERT_EQ(shutdown(stuck->connection().descriptor(), SHUT_WR), 0);

  EXPECT_TRUE(test::eventually([this] {
    time.advance(61s);
    return server->counters().streamsCut > 0;
  }));

  EXPECT_EQ(server->counters().streamsCut, 1u);
  EXPECT_TRUE(stuck->connection().waitClosed());
}

TEST_F(StreamStallTest, StopsWithAClientThatTakesNothing) {
  const auto stuck = listen();
  for (std::uint64_t i = 1; i <= 5'000; ++i) {
    add(i);
  }

  server->stop();

  EXPECT_EQ(server->counters().connectionsOpen, 0u);
}

}  // namespace
}  // namespace fw::http
