#include <gtest/gtest.h>

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "basic/clock.h"
#include "http/server/http_server.h"
#include "support/http_client.h"

namespace fw::http {
namespace {

/// Keeps the requests that it gets.
class KeepingHandler final : public Handler {
 public:
  void handle(const Request& request, std::shared_ptr<Responder> responder) override {
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(request);
    }
    responder->send({});
  }

  std::vector<Request> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Request> requests_;  // guarded by mutex_
};

class HttpContentTest : public testing::Test {
 protected:
  void SetUp() override {
    options.limits.body = kLimit;
    options.token = std::string(32, 't');
    server.emplace(Clock::system(), options, handler);
    ASSERT_EQ(server->start(), "");
  }

  /// Sends a request with these headers and this content, as they are.
  std::optional<HttpReply> send(const std::string& headers, const std::string& content,
                                const std::string& method = "POST") {
    HttpClient client(server->port());
    client.send(method + " /x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) +
                "\r\nAuthorization: Bearer " + options.token + "\r\n" + headers + "\r\n" + content);
    return client.read();
  }

  static std::string length(const std::string& content) {
    return "Content-Length: " + std::to_string(content.size()) + "\r\n";
  }

  static std::string chunks(const std::string& content, std::size_t size) {
    std::string out;
    for (std::size_t at = 0; at < content.size(); at += size) {
      const std::string piece = content.substr(at, size);
      char head[16];
      std::snprintf(head, sizeof(head), "%zx\r\n", piece.size());
      out += head + piece + "\r\n";
    }
    return out + "0\r\n\r\n";
  }

  static constexpr std::size_t kLimit = 100'000;

  KeepingHandler handler;
  ServerOptions options;
  std::optional<HttpServer> server;
};

TEST_F(HttpContentTest, GivesTheHandlerTheWholeContent) {
  std::string content(kLimit, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) {
    content[i] = static_cast<char>(i * 7);
  }

  const auto reply = send(length(content), content);

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  ASSERT_EQ(handler.requests().size(), 1u);
  EXPECT_EQ(handler.requests().front().body, content);
}

TEST_F(HttpContentTest, PutsChunksTogether) {
  const std::string content = "one two three " + std::string(70'000, 'x') + " four";

  const auto reply = send("Transfer-Encoding: chunked\r\n", chunks(content, 999));

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  ASSERT_EQ(handler.requests().size(), 1u);
  EXPECT_EQ(handler.requests().front().body, content);
}

TEST_F(HttpContentTest, TellsContentTypeAndLanguage) {
  send("Content-Type: text/csv\r\naccept-language: de, en;q=0.5\r\n" + length("a,b"), "a,b");

  ASSERT_EQ(handler.requests().size(), 1u);
  const Request request = handler.requests().front();
  EXPECT_EQ(request.contentType, "text/csv");
  EXPECT_EQ(request.acceptLanguage, "de, en;q=0.5");
  EXPECT_EQ(request.body, "a,b");
}

TEST_F(HttpContentTest, TakesARequestWithoutContent) {
  const auto reply = send("Content-Length: 0\r\n", "");

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  ASSERT_EQ(handler.requests().size(), 1u);
  EXPECT_EQ(handler.requests().front().body, "");
}

TEST_F(HttpContentTest, IgnoresTheContentOfAMethodThatOnlyReads) {
  const auto reply = send(length("hello"), "hello", "GET");

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 200);
  ASSERT_EQ(handler.requests().size(), 1u);
  EXPECT_EQ(handler.requests().front().body, "");
}

TEST_F(HttpContentTest, RefusesOneByteTooManyAndNeverShowsIt) {
  const std::string content(kLimit + 1, 'x');

  const auto declared = send(length(content), "");
  const auto chunked = send("Transfer-Encoding: chunked\r\n", chunks(content, 4096));

  ASSERT_TRUE(declared && chunked);
  EXPECT_EQ(declared->status, 413);
  EXPECT_EQ(chunked->status, 413);
  EXPECT_EQ(nlohmann::json::parse(chunked->body)["type"], "urn:zel:problem:content-too-large");
  EXPECT_EQ(handler.requests().size(), 0u);
}

TEST_F(HttpContentTest, KeepsAConnectionsRequestsApart) {
  HttpClient client(server->port());
  const std::string head = "POST /x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) +
                           "\r\nAuthorization: Bearer " + options.token + "\r\n";

  client.send(head + length("first") + "\r\nfirst" + head + length("second") + "\r\nsecond");
  const auto first = client.read();
  const auto second = client.read();

  ASSERT_TRUE(first && second);
  ASSERT_EQ(handler.requests().size(), 2u);
  EXPECT_EQ(handler.requests()[0].body, "first");
  EXPECT_EQ(handler.requests()[1].body, "second");
}

}  // namespace
}  // namespace fw::http
