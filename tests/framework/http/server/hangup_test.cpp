#include <sys/socket.h>

#include "framework/http/server_fixture.h"
#include "support/event_batches.h"
#include "support/sse_client.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

/// Clients that leave in the middle, and those that don't take or send what they should.
class HangupTest : public ServerFixture {
 protected:
  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(server->port()) + "\r\n"; }

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

TEST_F(HangupTest, NoticesThatAClientHasLeftInTheMiddleOfARequest) {
  options.deadlines.head = 10min;
  options.deadlines.receive = 10min;
  options.idleTimeout = 600s;
  start();
  const std::string parts[] = {
      "G",
      "GET / HTTP/1.1\r\n",
      "GET / HTTP/1.1\r\n" + host(),
      "POST / HTTP/1.1\r\n" + host() + "Content-Length: 100\r\n\r\nhello",
      "POST / HTTP/1.1\r\n" + host() + "Transfer-Encoding: chunked\r\n\r\n5\r\nhel",
  };
  for (int i = 0; i < 100; ++i) {
    HttpClient client(server->port());
    ASSERT_TRUE(client.send(parts[i % 5]));
  }

  EXPECT_TRUE(waitFor([this] { return server->counters().connectionsOpen == 0; }));
}

TEST_F(HangupTest, AnswersAClientThatHasOnlyClosedItsSide) {
  agent.hold();
  start();
  HttpClient client(server->port());
  client.send("GET /api/v1/tables HTTP/1.1\r\n" + host() + "\r\n" +
              "GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n");
  ::shutdown(client.descriptor(), SHUT_WR);
  ASSERT_TRUE(client.read());
  ASSERT_TRUE(waitFor([this] { return server->counters().requestsOpen == 1; }));

  agent.release();

  const auto reply = client.read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
}

TEST_F(HangupTest, LetsLeftConnectionsTakeNoPlaces) {
  options.connections = {8, 8};
  options.deadlines.head = 10min;
  options.idleTimeout = 600s;
  start();
  std::vector<std::unique_ptr<HttpClient>> silent;

  for (int i = 0; i < 100; ++i) {
    silent.push_back(std::make_unique<HttpClient>(server->port()));
    silent.back()->send("G");
    HttpClient left(server->port());
    left.send("GET /");
    if (i % 10 == 0) {
      EXPECT_EQ(get("/healthz").status, 200) << i;
    }
  }
}

TEST_F(HangupTest, GivesThePlaceOfAClientThatTakesNothingToANewOne) {
  options.connections = {1, 1};
  options.sweepPeriod = 10ms;
  agent.answer = [this](const ReportRequest&) {
    const std::vector<std::vector<Value>> rows(200'000, {"node-a", std::int64_t{42}});
    ReportSample sample;
    sample.state = ReportSample::State::Fresh;
    return ResultBuilder(memory).sample(sample, rows).build();
  };
  start();
  HttpClient lazy(server->port());
  lazy.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n");
  ASSERT_TRUE(waitFor([this] { return server->counters().requestsOpen == 1; }));

  EXPECT_TRUE(waitFor([this] {
    HttpClient another(server->port());
    const auto reply = another.get("/healthz");
    return reply && reply->status == 200;
  }));

  EXPECT_EQ(server->counters().connectionsEvicted, 1u);
}

TEST_F(HangupTest, GivesThePlaceOfARequestWhoseClientHasLeftToANewOne) {
  options.connections = {1, 1};
  agent.hold();
  start();
  {
    HttpClient left(server->port());
    left.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n");
    ASSERT_TRUE(waitFor([this] { return server->counters().requestsOpen == 1; }));
  }

  EXPECT_TRUE(waitFor([this] {
    HttpClient another(server->port());
    const auto reply = another.get("/healthz");
    return reply && reply->status == 200;
  }));
  agent.release();
}

TEST_F(HangupTest, FreesThePlaceOfAStreamAtOnceWhenItsClientLeaves) {
  options.sweepPeriod = 10min;  // so nothing is left to the sweep
  streamLimit = 4;
  start();

  for (int i = 0; i < 300; ++i) {
    HttpClient client(server->port());
    client.send("GET /api/v1/stream HTTP/1.1\r\n" + host() + "\r\n");
    const auto head = client.readHead();
    ASSERT_TRUE(head);
    ASSERT_EQ(head->status, 200) << i;
  }

  EXPECT_TRUE(waitFor([this] { return server->counters().streamsOpen == 0; }));
}

TEST_F(HangupTest, EndsAStreamWhoseClientLeftBeforeItBegan) {
  start();
  for (int i = 0; i < 50; ++i) {
    HttpClient client(server->port());
    client.send("GET /api/v1/stream HTTP/1.1\r\n" + host() + "\r\n");
  }

  EXPECT_TRUE(waitFor([this] { return server->counters().connectionsOpen == 0; }));
}

TEST_F(HangupTest, LetsAClientReadItsRefusalThatGoesOnSending) {
  start();
  for (const char* length : {"20000000", "99999999999999999999999"}) {
    HttpClient client(server->port());
    client.send("POST / HTTP/1.1\r\n" + host() + authorization() + "Content-Length: " + length +
                "\r\n\r\n");

    const bool sent = client.send(std::string(20'000'000, 'a'));

    EXPECT_TRUE(sent) << length;
    const auto reply = client.read();
    ASSERT_TRUE(reply) << length;
    EXPECT_EQ(reply->status, 413);
    EXPECT_TRUE(client.waitClosed());
  }
}

TEST_F(HangupTest, ReadsOnlySoMuchAfterARefusal) {
  start();
  HttpClient client(server->port());
  client.send("POST / HTTP/1.1\r\n" + host() + authorization() +
              "Content-Length: 2000000000\r\n\r\n");

  const std::string piece(1 << 20, 'a');
  std::uint64_t sent = 0;
  while (sent < 2 * Lingering::kBytes && client.send(piece)) {
    sent += piece.size();
  }

  EXPECT_LT(sent, 2 * Lingering::kBytes);
}

}  // namespace
}  // namespace fw::http
