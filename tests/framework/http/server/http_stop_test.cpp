#include "framework/http/server_fixture.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class HttpStopTest : public ServerFixture {
 protected:
  void SetUp() override { start(); }

  /// A client whose report the agent keeps.
  std::unique_ptr<HttpClient> waitingClient(std::size_t number = 1) {
    auto client = std::make_unique<HttpClient>(server->port());
    client->send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\nHost: localhost:" +
                 std::to_string(server->port()) + "\r\n\r\n");
    EXPECT_TRUE(agent.waitHeld(number));
    return client;
  }
};

TEST_F(HttpStopTest, AnswersSuspendedRequestsWith503) {
  agent.hold();
  std::vector<std::unique_ptr<HttpClient>> clients;
  for (std::size_t i = 1; i <= 20; ++i) {
    clients.push_back(waitingClient(i));
  }

  server->stop();

  for (const auto& client : clients) {
    const auto reply = client->read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 503);
    EXPECT_EQ(reply->header("connection"), "close");
    EXPECT_EQ(parse(*reply)["type"], "urn:zel:problem:stopping");
    EXPECT_TRUE(client->waitClosed());
  }
}

TEST_F(HttpStopTest, DropsAnswersThatComeAfterIt) {
  agent.hold();
  const auto client = waitingClient();
  server->stop();
  server.reset();

  agent.release();

  const auto reply = client->read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 503);
}

TEST_F(HttpStopTest, RefusesNewRequestsButWaitsForOldOnes) {
  agent.hold();
  const auto old = waitingClient();
  server->refuse();

  const HttpReply refused = get("/api/v1/tables/JVM_MEMORY/rows");
  const bool drainedBefore = server->drain(10ms);
  agent.release();
  const bool drainedAfter = server->drain(20s);

  EXPECT_EQ(refused.status, 503);
  EXPECT_FALSE(drainedBefore);
  EXPECT_TRUE(drainedAfter);
  const auto reply = old->read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
}

TEST_F(HttpStopTest, EndsConnectionsAndFreesThePort) {
  HttpClient idle(server->port());
  ASSERT_TRUE(idle.get("/healthz"));
  HttpClient half(server->port());
  half.send("GET /heal");
  options.port = server->port();

  server->stop();

  EXPECT_TRUE(idle.waitClosed());
  EXPECT_TRUE(half.waitClosed());
  HttpServer next(Clock::system(), options, *api);
  EXPECT_EQ(next.start(), "");
}

TEST_F(HttpStopTest, MayBeRepeatedAndComeBeforeTheStart) {
  HttpServer never(Clock::system(), {}, *api);

  never.stop();
  server->stop();
  server->stop();
}

TEST_F(HttpStopTest, StopsUnderLoad) {
  std::atomic<bool> end{false};
  std::atomic<int> answered{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < 8; ++i) {
    clients.emplace_back([&] {
      while (!end) {
        HttpClient client(server->port());
        while (client.isConnected() && client.get("/api/v1/tables/JVM_MEMORY/rows")) {
          ++answered;
        }
      }
    });
  }
  const auto bound = std::chrono::steady_clock::now() + 20s;
  while (answered < 200 && std::chrono::steady_clock::now() < bound) {
    std::this_thread::yield();
  }

  server->stop();
  end = true;
  for (std::thread& client : clients) {
    client.join();
  }

  EXPECT_GE(answered, 200);
  EXPECT_EQ(server->counters().connectionsOpen, 0u);
}

TEST_F(HttpStopTest, StopsWhileClientsSendWhatIsRefused) {
  for (int round = 0; round < 50; ++round) {
    start();
    std::vector<std::unique_ptr<HttpClient>> clients;
    for (int i = 0; i < 8; ++i) {
      clients.push_back(std::make_unique<HttpClient>(server->port()));
      for (int more = 0; more < 3; ++more) {
        clients.back()->send("GET / HTTP/1.1\r\nno colon\r\n\r\n");
      }
    }

    server->stop();

    EXPECT_EQ(server->counters().connectionsOpen, 0u);
  }
}

}  // namespace
}  // namespace fw::http
