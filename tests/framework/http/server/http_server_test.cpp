#include "http/server/http_server.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "framework/http/server_fixture.h"
#include "http/server/listener.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class HttpServerTest : public ServerFixture {
 protected:
  void SetUp() override {
    options.deadlines.receive = 500ms;
    options.sweepPeriod = 20ms;
    start();
  }

  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(server->port()) + "\r\n"; }

  /// Sends bytes as they are and reads one answer.
  std::optional<HttpReply> exchange(const std::string& bytes) {
    HttpClient client(server->port());
    client.send(bytes);
    return client.read();
  }
};

TEST_F(HttpServerTest, KeepsAConnectionForManyRequests) {
  HttpClient client(server->port());

  for (int i = 0; i < 20; ++i) {
    const auto reply = client.get(i % 2 == 0 ? "/api/v1/tables" : "/nothing");
    ASSERT_TRUE(reply) << i;
    EXPECT_EQ(reply->header("connection"), "") << i;
  }

  EXPECT_EQ(server->counters().connections, 1u);
  EXPECT_EQ(server->counters().requests, 20u);
}

TEST_F(HttpServerTest, AnswersPipelinedRequestsInOrder) {
  HttpClient client(server->port());
  const std::string second = "GET /nothing HTTP/1.1\r\n" + host() + "\r\n";

  client.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\n" + host() + "\r\n" + second);

  const auto first = client.read();
  const auto next = client.read();
  ASSERT_TRUE(first && next);
  EXPECT_EQ(first->status, 200);
  EXPECT_EQ(next->status, 404);
}

TEST_F(HttpServerTest, ClosesWhenTheClientAsksForIt) {
  HttpClient client(server->port());

  const auto reply = client.request("GET", "/healthz", "Connection: close\r\n");

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  EXPECT_EQ(reply->header("connection"), "close");
  EXPECT_TRUE(client.waitClosed());
}

TEST_F(HttpServerTest, AnswersHttp10AndCloses) {
  HttpClient client(server->port());
  client.send("GET /healthz HTTP/1.0\r\n" + host() + "\r\n");

  const auto reply = client.read();

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  EXPECT_TRUE(client.waitClosed());
}

TEST_F(HttpServerTest, RefusesForeignHostsAndOrigins) {
  const auto foreign = exchange("GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n");
  const auto none = exchange("GET / HTTP/1.1\r\n\r\n");
  const auto two = exchange("GET / HTTP/1.1\r\n" + host() + host() + "\r\n");
  const auto origin =
      exchange("GET / HTTP/1.1\r\n" + host() + "Origin: http://evil.example\r\n\r\n");

  ASSERT_TRUE(foreign && none && two && origin);
  EXPECT_EQ(foreign->status, 421);
  EXPECT_EQ(parse(*foreign)["type"], "urn:zel:problem:misdirected");
  EXPECT_EQ(none->status, 400);
  EXPECT_EQ(two->status, 400);
  EXPECT_EQ(origin->status, 403);
  EXPECT_EQ(parse(*origin)["type"], "urn:zel:problem:foreign-origin");
}

TEST_F(HttpServerTest, ChangesNothingWithoutTheToken) {
  const auto without = get("/nothing", "POST");
  const auto with = get("/nothing", "POST", authorization());

  EXPECT_EQ(without.status, 401);
  EXPECT_EQ(without.header("www-authenticate"), "Bearer");
  EXPECT_EQ(parse(without)["type"], "urn:zel:problem:unauthorized");
  EXPECT_EQ(with.status, 404);
}

TEST_F(HttpServerTest, TakesItsOwnOrigin) {
  const std::string origin = "Origin: http://localhost:" + std::to_string(server->port());

  EXPECT_EQ(get("/healthz", "GET", origin + "\r\n").status, 200);
}

TEST_F(HttpServerTest, SurvivesMalformedRequests) {
  const std::string bad[] = {
      "\r\n\r\n\r\n",
      "GET\r\n\r\n",
      "GET /\r\n\r\n",
      "GET / HTTP/9.9\r\n" + host() + "\r\n",
      "GET / HTTP/1.1\r\n: no name\r\n\r\n",
      "GET / HTTP/1.1\r\nno colon\r\n\r\n",
      "POST / HTTP/1.1\r\n" + host() + "Content-Length: -1\r\n\r\n",
      "POST / HTTP/1.1\r\n" + host() + "Content-Length: 99999999999999999999999\r\n\r\n",
      "POST / HTTP/1.1\r\n" + host() + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
      std::string("\0\1\2\3\xff\xfe\r\n\r\n", 10),
      "\x16\x03\x01\x02\x01\x01\x01\xfc\x03\x03",
  };
  for (const std::string& bytes : bad) {
    HttpClient client(server->port());
    ASSERT_TRUE(client.send(bytes));
    ::shutdown(client.descriptor(), SHUT_WR);
    if (const auto reply = client.read()) {
      EXPECT_GE(reply->status, 400) << bytes;
    } else {
      EXPECT_TRUE(client.waitClosed()) << bytes;
    }
    EXPECT_EQ(get("/healthz").status, 200) << bytes;
  }
}

TEST_F(HttpServerTest, RefusesABadTargetWithAProblem) {
  for (const char* target : {"/%zz", "/a%00", "*", "/a b", "https://127.0.0.1/"}) {
    const HttpReply reply = get(target);
    EXPECT_EQ(reply.status, 400) << target;
    EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:bad-request") << target;
  }
}

TEST_F(HttpServerTest, ReadsAndIgnoresContentOfARequest) {
  HttpClient client(server->port());
  client.send("POST /healthz HTTP/1.1\r\n" + host() + authorization() +
              "Content-Length: 5\r\n\r\nhello");
  const auto refused = client.read();
  client.send("GET /healthz HTTP/1.1\r\n" + host() +
              "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n");

  const auto answered = client.read();

  ASSERT_TRUE(refused && answered);
  EXPECT_EQ(refused->status, 405);
  EXPECT_EQ(answered->status, 200);
}

TEST_F(HttpServerTest, SaysWhenItsPortIsTaken) {
  ServerOptions same;
  same.port = server->port();
  HttpServer second(Clock::system(), same, *api);

  const std::string error = second.start();

  EXPECT_EQ(error, "Port " + std::to_string(server->port()) +
                       " is in use by another program. Choose another one with --port or "
                       "http.port; 0 takes any free port.");
  EXPECT_EQ(second.port(), 0);
}

TEST_F(HttpServerTest, ListensOnTheLoopbackInterfaceOnly) {
  const Listener listener = openListener(0);
  ASSERT_GE(listener.socket, 0) << listener.error;
  sockaddr_in address{};
  socklen_t size = sizeof(address);

  ASSERT_EQ(getsockname(listener.socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
  close(listener.socket);

  EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_LOOPBACK);
  EXPECT_EQ(ntohs(address.sin_port), listener.port);
}

}  // namespace
}  // namespace fw::http
