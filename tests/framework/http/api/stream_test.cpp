#include "framework/http/server_fixture.h"
#include "support/event_batches.h"
#include "support/sse_client.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class StreamTest : public ServerFixture {
 protected:
  std::unique_ptr<SseClient> listen(const std::string& target = "/api/v1/stream",
                                    const std::string& headers = "") {
    auto client = std::make_unique<SseClient>(server->port(), target, headers);
    const auto head = client->head();
    EXPECT_TRUE(head && head->status == 200) << target;
    const auto greeting = client->next();
    EXPECT_TRUE(greeting && !greeting->id.empty()) << target;
    return client;
  }

  void addEvent(std::int64_t number) {
    agent.happenings->add(
        makeBatch(memory, static_cast<std::uint64_t>(number), {{"node-a", number}}));
  }

  void addSubnode(const std::string& name) {
    SubnodeInfo subnode;
    subnode.name = name;
    agent.happenings->add(subnode);
  }

  template <typename Condition>
  static bool waitFor(Condition condition) {
    const auto bound = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > bound) {
        return false;
      }
      std::this_thread::sleep_for(1ms);
    }
    return true;
  }
};

TEST_F(StreamTest, TellsWhatHappensFromNowOn) {
  start();
  addEvent(1);
  SseClient client(server->port(), "/api/v1/stream");

  const auto head = client.head();
  const auto greeting = client.next();
  addEvent(2);
  const auto first = client.next();
  addSubnode("node-c");
  const auto second = client.next();

  ASSERT_TRUE(head && greeting && first && second);
  EXPECT_EQ(head->status, 200);
  EXPECT_EQ(head->header("content-type"), "text/event-stream");
  EXPECT_EQ(head->header("cache-control"), "no-store");
  EXPECT_EQ(greeting->event, "");
  EXPECT_EQ(first->event, "event");
  EXPECT_EQ(first->data["events"][0]["seq"], 2);
  EXPECT_EQ(first->data["events"][0]["values"]["USED"], 2);
  EXPECT_EQ(second->event, "subnode");
  EXPECT_EQ(second->data["name"], "node-c");
  EXPECT_EQ(server->counters().streamsOpen, 1u);
  EXPECT_EQ(server->counters().requestsOpen, 0u);
}

TEST_F(StreamTest, ResumesAfterAPosition) {
  start();
  const auto before = listen();
  addEvent(1);
  const auto seen = before->nextEvent();
  addEvent(2);
  ASSERT_TRUE(seen);

  const auto byHeader = listen("/api/v1/stream?after=1-1", "Last-Event-ID: " + seen->id + "\r\n");
  const auto byAddress = listen("/api/v1/stream?after=" + seen->id);

  EXPECT_EQ(byHeader->nextEvent()->data["events"][0]["seq"], 2);
  EXPECT_EQ(byAddress->nextEvent()->data["events"][0]["seq"], 2);
}

TEST_F(StreamTest, TellsAClientThatComesBackWhatIsGone) {
  agent.happenings = std::make_unique<Journal>(Clock::system(), 3);
  start();
  const std::string begin = agent.happenings->last().toText();
  for (std::int64_t i = 1; i <= 10; ++i) {
    addEvent(i);
  }

  const auto late = listen("/api/v1/stream?after=" + begin);
  const auto other = listen("/api/v1/stream?after=5-10");
  const auto missed = late->nextEvent();
  const auto next = late->nextEvent();
  const auto reset = other->nextEvent();

  ASSERT_TRUE(missed && next && reset);
  EXPECT_EQ(missed->event, "missed");
  EXPECT_EQ(missed->data, (nlohmann::json{{"missed", 7}, {"reset", false}}));
  EXPECT_EQ(next->data["events"][0]["seq"], 8);
  EXPECT_EQ(reset->event, "missed");
  EXPECT_EQ(reset->data["reset"], true);
}

TEST_F(StreamTest, TellsOnlyWhatIsAskedFor) {
  start();
  const auto kinds = listen("/api/v1/stream?kind=subnode&kind=action");
  const auto tables = listen("/api/v1/stream?table=JVM_MEMORY");
  addEvent(1);
  addSubnode("node-c");
  addEvent(2);

  EXPECT_EQ(kinds->nextEvent()->event, "subnode");
  EXPECT_EQ(tables->nextEvent()->data["events"][0]["seq"], 1);
  EXPECT_EQ(tables->nextEvent()->data["events"][0]["seq"], 2);
}

TEST_F(StreamTest, RefusesWhatItDoesNotUnderstand) {
  start();
  const struct {
    const char* target;
    int status;
    const char* type;
  } cases[] = {
      {"/api/v1/stream?after=x", 400, "urn:zel:problem:bad-position"},
      {"/api/v1/stream?kind=events", 400, "urn:zel:problem:unknown-kind"},
      {"/api/v1/stream?table=JVM_MEMORI", 404, "urn:zel:problem:unknown-table"},
      {"/api/v1/stream?tabel=A", 400, "urn:zel:problem:unknown-parameter"},
      {"/api/v1/stream?after=1-1&after=1-2", 400, "urn:zel:problem:repeated-parameter"},
  };
  for (const auto& each : cases) {
    const HttpReply reply = get(each.target);
    EXPECT_EQ(reply.status, each.status) << each.target;
    EXPECT_EQ(parse(reply)["type"], each.type) << each.target;
  }
  EXPECT_EQ(get("/api/v1/stream", "GET", "Last-Event-ID: 12\r\n").status, 400);
  EXPECT_EQ(get("/api/v1/stream", "HEAD").status, 200);
  EXPECT_EQ(server->counters().streams, 0u);
}

TEST_F(StreamTest, RefusesMoreStreamsThanItsLimitUntilOneLeaves) {
  streamLimit = 2;
  options.sweepPeriod = 5ms;
  start();
  const auto first = listen();
  auto second = listen();

  const HttpReply refused = get("/api/v1/stream");
  const auto counters = parse(get("/api/v1/agent"))["http"];
  second.reset();

  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(parse(refused)["type"], "urn:zel:problem:busy");
  EXPECT_EQ(refused.header("retry-after"), "1");
  EXPECT_EQ(counters["streams_open"], 2);
  EXPECT_EQ(counters["streams_refused"], 1);
  // Nothing is sent meanwhile: the server notices by itself that the client has left.
  ASSERT_TRUE(waitFor([&] { return server->counters().streamsOpen == 1; }));
  // The place is free when the library has let go of the answer, a moment later.
  EXPECT_TRUE(waitFor([&] {
    const auto head = SseClient(server->port(), "/api/v1/stream").head();
    return head && head->status == 200;
  }));
}

TEST_F(StreamTest, EndsWithAWordWhenTheServerStops) {
  start();
  const auto idle = listen();
  const auto busy = listen();
  addEvent(1);
  ASSERT_TRUE(busy->nextEvent());
  ASSERT_TRUE(idle->nextEvent());

  server->refuse();
  const bool drained = server->drain(20s);
  const auto last = idle->next();
  const auto end = idle->next();
  server->stop();

  EXPECT_TRUE(drained);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->comment, "the agent is stopping");
  EXPECT_FALSE(end);
  EXPECT_TRUE(busy->connection().waitClosed());
  EXPECT_EQ(server->counters().connectionsOpen, 0u);
}

TEST_F(StreamTest, MayBeStoppedAtOnceWithManyStreamsAndNews) {
  start();
  std::vector<std::unique_ptr<SseClient>> clients;
  for (int i = 0; i < 16; ++i) {
    clients.push_back(listen());
  }
  std::atomic<bool> end{false};
  std::thread writer([&] {
    for (std::int64_t i = 1; !end; ++i) {
      addEvent(i);
      std::this_thread::yield();
    }
  });
  ASSERT_TRUE(clients.front()->nextEvent());

  server->stop();
  end = true;
  writer.join();

  for (const auto& client : clients) {
    EXPECT_TRUE(client->connection().waitClosed());
  }
}

TEST_F(StreamTest, AnswersOtherRequestsWhileAllStreamsAreOpen) {
  start();
  std::vector<std::unique_ptr<SseClient>> clients;
  for (int i = 0; i < 16; ++i) {
    clients.push_back(listen());
  }

  EXPECT_EQ(get("/api/v1/tables").status, 200);
}

}  // namespace
}  // namespace fw::http
