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

/// A request as it came over the wire.
struct RawRequest {
  std::string method;
  std::string target;
  std::vector<std::string> hosts;           ///< all Host headers
  std::vector<std::string> origins;         ///< all Origin headers
  std::vector<std::string> authorizations;  ///< all Authorization headers
  std::string contentType;
  std::string acceptLanguage;
  std::string lastEventId;
  std::size_t headerBytes = 0;  ///< request line and headers
  std::uint64_t bodyBytes = 0;  ///< declared; 0 when the length is not known yet
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
/// openly, which the Origin header gives away. Both are refused.
///
/// Whoever wants to change something must present the token as well, even a page of the agent
/// itself. Nobody else learns whether there is anything at an address that could be changed.
class Gate {
 public:
  /// Without a token nothing may be changed.
  Gate(std::uint16_t port, GateLimits limits, std::string token);

  /// Looks at everything but the content, of which the request is given none.
  std::variant<Request, Problem> check(const RawRequest& raw) const;

  /// Whether a content may have so many bytes.
  std::optional<Problem> checkContent(std::uint64_t bytes) const;

 private:
  bool isOwnAuthority(std::string_view authority) const;
  std::optional<Problem> checkLimits(const RawRequest& raw) const;
  std::optional<Problem> checkHost(const RawRequest& raw) const;
  std::optional<Problem> checkOrigin(const RawRequest& raw) const;
  std::optional<Problem> checkToken(const RawRequest& raw) const;

  std::vector<std::string> authorities_;
  GateLimits limits_;
  std::string token_;
};

}  // namespace fw::http
