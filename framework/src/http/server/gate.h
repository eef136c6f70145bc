#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "http/server/problem.h"
#include "http/server/target.h"

namespace fw::http {

/// A request's line and headers as they came over the wire.
struct RawRequest {
  std::string method;
  std::string target;
  std::string version;                         ///< "HTTP/1.1"
  std::string malformed;                       ///< what is wrong with the header lines, for people
  std::vector<std::string> hosts;              ///< all Host headers
  std::vector<std::string> origins;            ///< all Origin headers
  std::vector<std::string> authorizations;     ///< all Authorization headers
  std::vector<std::string> contentLengths;     ///< all Content-Length headers
  std::vector<std::string> transferEncodings;  ///< all Transfer-Encoding headers
  std::string fetchSite;                       ///< Sec-Fetch-Site
  std::string fetchMode;                       ///< Sec-Fetch-Mode
  std::string fetchDestination;                ///< Sec-Fetch-Dest
  std::string contentType;
  std::string acceptLanguage;
  std::string lastEventId;
  std::size_t headerBytes = 0;  ///< request line and headers
};

/// A request that passed the gate.
struct Request {
  std::string method;
  Target target;
  std::string contentType;     ///< of the body; as it was sent
  std::string acceptLanguage;  ///< as it was sent
  std::string lastEventId;     ///< where a client of a stream left off; as it was sent
  std::string body;            ///< whole; empty for GET and HEAD, whose content means nothing
};

/// Whether a method only reads: GET or HEAD.
bool isRead(std::string_view method);

struct GateLimits {
  std::size_t target = 8 * 1024;     ///< bytes of the request target
  std::size_t headers = 32 * 1024;   ///< bytes of the request line and the headers
  std::uint64_t body = 1024 * 1024;  ///< bytes of the content
};

/// Decides whether a request may come in at all, before anybody looks at what it asks for.
///
/// A page of another site that is open in the user's browser can reach a server on the loopback
/// interface, too: under its own name, pointed at 127.0.0.1, which the Host header gives away, or
/// openly, which the Origin header gives away, or Sec-Fetch-Site where a browser sends no Origin.
/// All are refused; only a link that the user follows may lead here from anywhere, because the page
/// that holds it learns nothing of the answer.
///
/// Whoever wants to change something must present the token as well, even a page of the agent
/// itself. Nobody else learns whether there is anything at an address that could be changed.
class Gate {
 public:
  /// Without a token nothing may be changed.
  Gate(std::uint16_t port, GateLimits limits, std::string token);

  /// Looks at everything but the content, of which the request is given none.
  std::variant<Request, Problem> check(const RawRequest& raw) const;

  /// Whether it is beyond doubt where the request ends. Two programs that read a doubtful request
  /// differently take a part of it for a request of its own; so nothing is read after such a one.
  std::optional<Problem> checkFraming(const RawRequest& raw) const;

  /// Whether the declared length of the content is taken.
  std::optional<Problem> checkLength(const RawRequest& raw) const;

  /// Whether a content may have so many bytes.
  std::optional<Problem> checkContent(std::uint64_t bytes) const;

 private:
  bool isOwnAuthority(std::string_view authority) const;
  std::optional<Problem> checkLimits(const RawRequest& raw) const;
  std::optional<Problem> checkHost(const RawRequest& raw, std::string_view authority) const;
  std::optional<Problem> checkOrigin(const RawRequest& raw) const;
  std::optional<Problem> checkToken(const RawRequest& raw) const;

  std::vector<std::string> authorities_;
  GateLimits limits_;
  std::string token_;
};

}  // namespace fw::http
