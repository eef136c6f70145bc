#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "support/http_client.h"

/// A message of a live stream.
struct SseMessage {
  std::string id;       ///< empty when the message has none
  std::string event;    ///< empty for a comment and for a bare position
  std::string comment;  ///< empty when the message has none
  nlohmann::json data;  ///< null when the message has none
};

/// A client of the live stream.
class SseClient {
 public:
  /// Asks for a stream; `moreHeaders` end in CR LF each.
  SseClient(std::uint16_t port, std::string_view target, std::string_view moreHeaders = "")
      : client_(port) {
    std::string text = "GET " + std::string(target) + " HTTP/1.1\r\nHost: 127.0.0.1:";
    text += std::to_string(port) + "\r\n" + std::string(moreHeaders) + "\r\n";
    client_.send(text);
  }

  HttpClient& connection() { return client_; }

  /// The status and the headers; read them before the first message.
  std::optional<HttpReply> head() { return client_.readHead(); }

  /// The next message of any kind; nothing when the stream ends.
  std::optional<SseMessage> next() {
    std::size_t end = 0;
    while ((end = text_.find("\n\n")) == std::string::npos) {
      const auto chunk = client_.readChunk();
      if (!chunk || chunk->empty()) {
        return std::nullopt;
      }
      text_ += *chunk;
    }
    const SseMessage message = parse(std::string_view(text_).substr(0, end + 1));
    text_.erase(0, end + 2);
    return message;
  }

  /// Has the kernel tell the server at once that what came so far is taken.
  void acknowledge() {
    const int on = 1;
    setsockopt(client_.descriptor(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof(on));
  }

  /// The next message with data.
  std::optional<SseMessage> nextEvent() {
    auto message = next();
    while (message && message->event.empty()) {
      message = next();
    }
    return message;
  }

 private:
  static SseMessage parse(std::string_view text) {
    SseMessage message;
    while (!text.empty()) {
      const std::string line(text.substr(0, text.find('\n')));
      text.remove_prefix(line.size() + 1);
      const std::size_t colon = line.find(": ");
      const std::string name = line.substr(0, colon);
      const std::string value = line.substr(colon + 2);
      if (name.empty()) {
        message.comment = value;
      } else if (name == "id") {
        message.id = value;
      } else if (name == "event") {
        message.event = value;
      } else if (name == "data") {
        message.data = nlohmann::json::parse(value);
      }
    }
    return message;
  }

  HttpClient client_;
  std::string text_;
};
