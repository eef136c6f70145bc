#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// An answer as it came over the wire.
struct HttpReply {
  int status = 0;
  std::map<std::string, std::string> headers;  ///< names in lower case
  std::string body;                            ///< without chunk framing

  bool operator==(const HttpReply&) const = default;

  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
  }
};

/// One connection to a server on 127.0.0.1, used byte by byte, so that a test can be as rude as a
/// real client. Every wait ends after 20 s at the latest, as a failure.
class HttpClient {
 public:
  explicit HttpClient(std::uint16_t port);
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;
  ~HttpClient();

  bool isConnected() const { return socket_ >= 0; }

  int descriptor() const { return socket_; }

  /// False when the other side is gone.
  bool send(std::string_view bytes);

  /// The next answer; nothing when the connection ends before it is complete. `headRequest` tells
  /// that no content follows the headers.
  std::optional<HttpReply> read(bool headRequest = false);

  /// The next answer's status and headers; readChunk() gives its content.
  std::optional<HttpReply> readHead();

  /// The next chunk; empty at the content's end, nothing when the connection ends before it.
  std::optional<std::string> readChunk();

  /// Whether the server ends the connection; what comes before is thrown away.
  bool waitClosed();

  /// Whether the server ends the connection within `bound`, without a word.
  bool isClosedWithin(std::chrono::milliseconds bound);

  /// Sends a request with a good Host header and reads the answer.
  std::optional<HttpReply> request(std::string_view method, std::string_view target,
                                   std::string_view moreHeaders = "");
  std::optional<HttpReply> get(std::string_view target) { return request("GET", target); }

 private:
  bool fill();
  std::optional<std::string> takeLine();
  std::optional<std::string> take(std::size_t count);
  std::optional<std::string> takeChunks();

  std::uint16_t port_;
  int socket_ = -1;
  std::string buffer_;
};
