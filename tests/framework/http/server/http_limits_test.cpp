#include "framework/http/server_fixture.h"
#include "support/manual_clock.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class HttpLimitsTest : public ServerFixture {
 protected:
  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(server->port()) + "\r\n"; }

  /// Sends `text` again and again, slowly enough not to count as idle, until the server hangs up.
  static bool sendsUntilCut(HttpClient& client, const std::string& text) {
    const auto bound = std::chrono::steady_clock::now() + 20s;
    while (std::chrono::steady_clock::now() < bound) {
      if (!client.send(text) || client.isClosedWithin(20ms)) {
        return true;
      }
    }
    return false;
  }
};

TEST_F(HttpLimitsTest, CutsASlowRequestLine) {
  options.deadlines.receive = 300ms;
  options.sweepPeriod = 20ms;
  start();
  HttpClient client(server->port());
  client.send("GET /");

  EXPECT_TRUE(sendsUntilCut(client, "a"));

  EXPECT_EQ(server->counters().requestsLate, 1u);
}

TEST_F(HttpLimitsTest, CutsSlowHeaders) {
  options.deadlines.receive = 300ms;
  options.sweepPeriod = 20ms;
  start();
  HttpClient client(server->port());
  client.send("GET /healthz HTTP/1.1\r\n");

  EXPECT_TRUE(sendsUntilCut(client, "A: b\r\n"));

  EXPECT_EQ(server->counters().requestsLate, 1u);
}

TEST_F(HttpLimitsTest, CutsSlowHeadersSoonerThanSlowContent) {
  options.deadlines.head = 300ms;
  options.sweepPeriod = 20ms;
  start();
  HttpClient content(server->port());
  content.send("POST /healthz HTTP/1.1\r\n" + host() + authorization() +
               "Content-Length: 5\r\n\r\n");
  HttpClient head(server->port());
  head.send("POST /healthz HTTP/1.1\r\n" + host());

  EXPECT_TRUE(head.waitClosed());

  content.send("hello");
  const auto reply = content.read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 405);
}

TEST_F(HttpLimitsTest, CutsSlowContent) {
  options.deadlines.receive = 300ms;
  options.sweepPeriod = 20ms;
  start();
  HttpClient client(server->port());
  client.send("POST /healthz HTTP/1.1\r\n" + host() + "Content-Length: 100000\r\n\r\n");

  EXPECT_TRUE(sendsUntilCut(client, "a"));

  EXPECT_EQ(server->counters().requestsLate, 1u);
}

TEST_F(HttpLimitsTest, CutsASlowSecondRequestOnAKeptConnection) {
  options.deadlines.receive = 300ms;
  options.sweepPeriod = 20ms;
  start();
  HttpClient client(server->port());
  ASSERT_TRUE(client.get("/healthz"));
  client.send("GET /");

  EXPECT_TRUE(sendsUntilCut(client, "a"));
}

TEST_F(HttpLimitsTest, LeavesAnIdleConnectionAlone) {
  options.deadlines.receive = 100ms;
  options.sweepPeriod = 10ms;
  start();
  HttpClient idle(server->port());
  ASSERT_TRUE(idle.get("/healthz"));
  HttpClient slow(server->port());
  slow.send("G");

  // The other one is cut after the same time, so the idle one had its chance to be.
  ASSERT_TRUE(slow.waitClosed());

  const auto reply = idle.get("/healthz");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
}

TEST_F(HttpLimitsTest, CutsAClientThatDoesNotTakeItsAnswer) {
  options.deadlines.send = 300ms;
  options.sweepPeriod = 20ms;
  agent.answer = [this](const ReportRequest&) {
    const std::vector<std::vector<Value>> rows(200'000, {"node-a", std::int64_t{42}});
    ReportSample sample;
    sample.state = ReportSample::State::Fresh;
    return ResultBuilder(memory).sample(sample, rows).build();
  };
  start();
  HttpClient client(server->port());
  client.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n");

  const auto bound = std::chrono::steady_clock::now() + 20s;
  while (server->counters().requestsLate == 0 && std::chrono::steady_clock::now() < bound) {
    std::this_thread::yield();
  }

  EXPECT_EQ(server->counters().requestsLate, 1u);
  EXPECT_EQ(client.read(), std::nullopt);
}

TEST_F(HttpLimitsTest, AnswersForAnAgentThatTakesTooLong) {
  options.deadlines.answer = 100ms;
  options.sweepPeriod = 10ms;
  agent.hold();
  start();

  const HttpReply reply = get("/api/v1/tables/JVM_MEMORY/rows");

  EXPECT_EQ(reply.status, 504);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:deadline");
  agent.release();  // the late answer goes nowhere
  EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(HttpLimitsTest, RefusesALongAddressWithAProblem) {
  start();

  const HttpReply reply = get("/" + std::string(10'000, 'a'));

  EXPECT_EQ(reply.status, 414);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:target-too-long");
}

TEST_F(HttpLimitsTest, RefusesManyHeadersWithAProblem) {
  start();
  std::string headers;
  while (headers.size() < 34'000) {
    headers += "X-" + std::to_string(headers.size()) + ": " + std::string(500, 'a') + "\r\n";
  }

  const HttpReply reply = get("/healthz", "GET", headers);

  EXPECT_EQ(reply.status, 431);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:headers-too-large");
}

TEST_F(HttpLimitsTest, RefusesWhatDoesNotFitIntoAConnectionsMemory) {
  start();

  EXPECT_EQ(get("/" + std::string(200'000, 'a')).status, 414);
  EXPECT_EQ(get("/healthz", "GET", "A: " + std::string(200'000, 'a') + "\r\n").status, 431);
}

TEST_F(HttpLimitsTest, RefusesLongContentWithAProblem) {
  start();
  HttpClient declared(server->port());
  declared.send("POST / HTTP/1.1\r\n" + host() + authorization() +
                "Content-Length: 2000000000\r\n\r\n");
  HttpClient chunked(server->port());
  chunked.send("POST / HTTP/1.1\r\n" + host() + authorization() +
               "Transfer-Encoding: chunked\r\n\r\n");
  for (int i = 0; i < 20; ++i) {
    chunked.send("10000\r\n" + std::string(0x10000, 'a') + "\r\n");
  }
  chunked.send("0\r\n\r\n");

  const auto first = declared.read();
  const auto second = chunked.read();

  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->status, 413);
  EXPECT_EQ(parse(*first)["type"], "urn:zel:problem:content-too-large");
  EXPECT_EQ(second->status, 413);
  EXPECT_TRUE(declared.waitClosed());
}

TEST_F(HttpLimitsTest, ServesANewConnectionBesideManyIdleOnes) {
  start();
  std::vector<std::unique_ptr<HttpClient>> idle;
  for (int i = 0; i < 200; ++i) {
    idle.push_back(std::make_unique<HttpClient>(server->port()));
    ASSERT_TRUE(idle.back()->get("/healthz")) << i;
  }

  EXPECT_EQ(get("/api/v1/tables").status, 200);
  EXPECT_GE(server->counters().connectionsOpen, 200u);
}

TEST_F(HttpLimitsTest, GivesTheLongestIdlePlaceToANewConnection) {
  ManualClock manual;
  clock = &manual;
  options.connections = {10, 10};
  start();
  const auto use = [&](HttpClient& client) {
    ASSERT_TRUE(client.get("/healthz"));
    const auto bound = std::chrono::steady_clock::now() + 20s;
    while (server->counters().requestsOpen > 0 && std::chrono::steady_clock::now() < bound) {
      std::this_thread::yield();
    }
    manual.advance(100ms);
  };
  std::vector<std::unique_ptr<HttpClient>> open;
  for (int i = 0; i < 10; ++i) {
    open.push_back(std::make_unique<HttpClient>(server->port()));
    use(*open.back());
  }
  use(*open.front());  // the second one is idle for longest now

  HttpClient another(server->port());

  EXPECT_TRUE(another.get("/healthz"));
  EXPECT_TRUE(open[1]->waitClosed());
  use(*open[0]);
  EXPECT_EQ(server->counters().connectionsEvicted, 1u);
  EXPECT_EQ(server->counters().connectionsRefused, 0u);
}

TEST_F(HttpLimitsTest, GivesAnIdlePlaceOfTheSameAddressToANewConnection) {
  options.connections = {10, 3};
  start();
  std::vector<std::unique_ptr<HttpClient>> open;
  for (int i = 0; i < 3; ++i) {
    open.push_back(std::make_unique<HttpClient>(server->port()));
    ASSERT_TRUE(open.back()->get("/healthz")) << i;
  }

  HttpClient another(server->port());

  EXPECT_TRUE(another.get("/healthz"));
  EXPECT_EQ(server->counters().connectionsEvicted, 1u);
}

TEST_F(HttpLimitsTest, RefusesAConnectionWhileAllPlacesAreAtWork) {
  options.connections = {3, 3};
  agent.hold();
  start();
  std::vector<std::unique_ptr<HttpClient>> open;
  for (int i = 0; i < 3; ++i) {
    open.push_back(std::make_unique<HttpClient>(server->port()));
    open.back()->send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n");
  }
  const auto awaitOpen = [this](std::uint32_t count) {
    const auto bound = std::chrono::steady_clock::now() + 20s;
    while (server->counters().requestsOpen != count && std::chrono::steady_clock::now() < bound) {
      std::this_thread::yield();
    }
  };
  awaitOpen(3);

  HttpClient tooMany(server->port());

  EXPECT_EQ(tooMany.get("/healthz"), std::nullopt);
  EXPECT_EQ(server->counters().connectionsRefused, 1u);
  agent.release();
  for (const auto& client : open) {
    const auto reply = client->read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
  }
  awaitOpen(0);
  EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(HttpLimitsTest, ClosesAConnectionOnWhichNothingHappens) {
  options.idleTimeout = 1s;
  start();
  HttpClient client(server->port());
  ASSERT_TRUE(client.get("/healthz"));

  EXPECT_TRUE(client.waitClosed());
}

}  // namespace
}  // namespace fw::http
