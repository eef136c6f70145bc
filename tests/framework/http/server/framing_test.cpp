#include <sys/socket.h>

#include "framework/http/server_fixture.h"

namespace fw::http {
namespace {

/// Requests whose end two programs may see at different places.
class FramingTest : public ServerFixture {
 protected:
  void SetUp() override { start(); }

  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(server->port()) + "\r\n"; }

  /// All that comes back for these bytes until the server closes the connection.
  static std::string wire(HttpClient& client, const std::string& bytes) {
    client.send(bytes);
    std::string text;
    char piece[4096];
    ssize_t got = 0;
    while ((got = recv(client.descriptor(), piece, sizeof(piece), 0)) > 0) {
      text.append(piece, static_cast<std::size_t>(got));
    }
    EXPECT_EQ(got, 0) << "reset, or not closed";
    return text;
  }

  /// Sends a request that must be refused, on a new connection and on one that was used already.
  void expectRefused(const std::string& request, const std::string& status) {
    for (const bool isUsed : {false, true}) {
      SCOPED_TRACE(request.substr(0, 300));
      HttpClient client(server->port());
      if (isUsed) {
        ASSERT_TRUE(client.get("/healthz"));
      }

      const std::string text =
          wire(client, request + "GET /healthz HTTP/1.1\r\n" + host() + "\r\n");

      EXPECT_EQ(text.substr(0, 12), "HTTP/1.1 " + status) << text;
      EXPECT_EQ(text.rfind("HTTP/1.1 "), 0u) << text;
      EXPECT_NE(text.find("\r\nConnection: close\r\n"), std::string::npos) << text;
      EXPECT_NE(text.find("urn:zel:problem:"), std::string::npos) << text;
      const std::size_t head = text.find("\r\n\r\n");
      const std::size_t at = text.find("Content-Length: ");
      ASSERT_TRUE(head != std::string::npos && at < head) << text;
      EXPECT_EQ(std::stoul(text.substr(at + 16)), text.size() - head - 4) << text;
    }
  }
};

TEST_F(FramingTest, RefusesADoubtfulLengthAndCloses) {
  const std::string post = "POST /healthz HTTP/1.1\r\n" + host();
  for (const char* headers : {
           "Content-Length: 5\r\nContent-Length: 6\r\n",
           "Content-Length: 5\r\nContent-Length: 5\r\n",
           "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
           "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
           "Content-Length : 5\r\n",
           "Content-Length\t: 5\r\n",
           "Content-Length: -1\r\n",
           "Content-Length: 5x\r\n",
           "Content-Length: \r\n",
           "Transfer-Encoding : chunked\r\n",
           "X: a\r\n b\r\nContent-Length: 5\r\n",
           "Content-Length: 5\r\n \r\n",
           "Content-Length: 5\r\n\t6\r\n",
           "Transfer-Encoding:\r\n chunked\r\n",
           " X: a\r\n",
           ": a\r\n",
           "X: a\rb\r\n",
           "X Y: a\r\n",
       }) {
    expectRefused(post + headers + "\r\nhello", "400");
  }
  const std::string zero("X: a\0b\r\n", 8);
  expectRefused(post + zero + "\r\n", "400");
  expectRefused(
      "POST /healthz HTTP/1.0\r\n" + host() + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "400");
  expectRefused("GET /healthz HTTP/1.1\r\n\r\n", "400");
  expectRefused(std::string("GET /healthz\0x HTTP/1.1\r\n", 25) + host() + "\r\n", "400");
  expectRefused("GET  /healthz HTTP/1.1\r\n" + host() + "\r\n", "400");
  expectRefused("GET /a b HTTP/1.1\r\n" + host() + "\r\n", "400");
}

TEST_F(FramingTest, AnswersUnknownTransferCodings) {
  const std::string post = "POST /healthz HTTP/1.1\r\n" + host();
  for (const char* coding : {"gzip", "identity", "gzip, chunked", "chunked, chunked", "xchunked"}) {
    expectRefused(post + "Transfer-Encoding: " + coding + "\r\n\r\nhello", "501");
  }
}

TEST_F(FramingTest, RefusesALengthBeyondAllNumbersWithOneHead) {
  expectRefused("POST /healthz HTTP/1.1\r\n" + host() +
                    "Content-Length: 99999999999999999999999\r\n\r\nhello",
                "413");
}

TEST_F(FramingTest, RefusesCookiesThatDoNotFitWithOneHead) {
  std::string cookies = "Cookie: ";
  for (int i = 0; i < 5000; ++i) {
    cookies += "a=b; ";
  }
  expectRefused("GET /healthz HTTP/1.1\r\n" + host() + cookies + "\r\n\r\n", "431");
}

// A continued line is told from a whole one by where the HTTP library keeps it, so each place in
// its buffer is tried.
TEST_F(FramingTest, RefusesAContinuedLineWhereverItStands) {
  for (std::size_t fill = 0; fill < 1200; fill += 7) {
    HttpClient client(server->port());
    const std::string text =
        wire(client, "GET /healthz HTTP/1.1\r\n" + host() + "F: " + std::string(fill, 'f') +
                         "\r\nA:\r\n b\r\n\r\n");
    ASSERT_EQ(text.substr(0, 12), "HTTP/1.1 400") << fill;
  }
}

TEST_F(FramingTest, TakesWellFormedHeadersOfAnyLength) {
  HttpClient client(server->port());
  for (std::size_t fill = 0; fill < 30'000; fill = fill * 2 + 1) {
    std::string headers =
        "F: " + std::string(fill, 'f') + "\r\nEmpty:\r\nBlank: \t \r\nG:\tg\t\r\n";
    const auto reply = client.request("GET", "/healthz", headers);
    ASSERT_TRUE(reply) << fill;
    EXPECT_EQ(reply->status, 200) << fill;
  }
}

TEST_F(FramingTest, TakesHeadersThatComeByteByByteAndLinesThatEndWithoutCr) {
  HttpClient client(server->port());
  const std::string text = "GET /healthz HTTP/1.1\r\n" + host() + "Cookie: a=b; c=d\r\nX: y\n\r\n";
  for (const char c : text) {
    ASSERT_TRUE(client.send({&c, 1}));
  }
  const auto slow = client.read();
  client.send("GET /healthz HTTP/1.1\n" + host() + "\nGET /nothing HTTP/1.1\r\n" + host() + "\r\n");
  const auto bare = client.read();
  const auto next = client.read();

  ASSERT_TRUE(slow && bare && next);
  EXPECT_EQ(slow->status, 200);
  EXPECT_EQ(bare->status, 200);
  EXPECT_EQ(next->status, 404);
}

TEST_F(FramingTest, TakesAnAbsoluteTarget) {
  const std::string own = "http://127.0.0.1:" + std::to_string(server->port());

  EXPECT_EQ(get(own + "/healthz").status, 200);
  EXPECT_EQ(get(own + "/api/v1/tables?x=1").status, get("/api/v1/tables?x=1").status);
  EXPECT_EQ(get("http://evil.example/healthz").status, 421);
}

}  // namespace
}  // namespace fw::http
