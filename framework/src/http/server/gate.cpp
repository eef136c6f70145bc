#include "http/server/gate.h"

#include <algorithm>
#include <utility>

#include "http/server/token.h"

namespace fw::http {

namespace {

constexpr std::uint16_t kHttpPort = 80;

char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return toLower(x) == toLower(y); });
}

/// What stands behind "Bearer " in the header; empty when it is something else.
std::string_view bearerToken(std::string_view authorization) {
  constexpr std::string_view kScheme = "Bearer ";
  return equalsIgnoringCase(authorization.substr(0, kScheme.size()), kScheme)
             ? authorization.substr(kScheme.size())
             : "";
}

std::string tooLong(std::string_view what, std::uint64_t bytes, std::uint64_t limit) {
  return std::string(what) + " has " + std::to_string(bytes) + " bytes; at most " +
         std::to_string(limit) + " are accepted.";
}

}  // namespace

bool isRead(std::string_view method) { return method == "GET" || method == "HEAD"; }

Gate::Gate(std::uint16_t port, GateLimits limits, std::string token)
    : limits_(limits), token_(std::move(token)) {
  for (const char* host : {"127.0.0.1", "localhost", "[::1]"}) {
    authorities_.push_back(std::string(host) + ':' + std::to_string(port));
    if (port == kHttpPort) {
      authorities_.emplace_back(host);
    }
  }
}

std::variant<Request, Problem> Gate::check(const RawRequest& raw) const {
  for (auto problem : {checkLimits(raw), checkHost(raw), checkOrigin(raw), checkToken(raw),
                       checkContent(raw.bodyBytes)}) {
    if (problem) {
      return *std::move(problem);
    }
  }
  Request request;
  request.method = raw.method;
  request.contentType = raw.contentType;
  request.acceptLanguage = raw.acceptLanguage;
  request.lastEventId = raw.lastEventId;
  if (auto error = parseTarget(raw.target, request.target)) {
    return badRequest(*std::move(error));
  }
  return request;
}

bool Gate::isOwnAuthority(std::string_view authority) const {
  return std::any_of(authorities_.begin(), authorities_.end(),
                     [&](const std::string& own) { return equalsIgnoringCase(own, authority); });
}

std::optional<Problem> Gate::checkLimits(const RawRequest& raw) const {
  if (raw.target.size() > limits_.target) {
    return Problem{414,
                   "target-too-long",
                   "The address is too long",
                   tooLong("The address", raw.target.size(), limits_.target),
                   {}};
  }
  if (raw.headerBytes > limits_.headers) {
    return Problem{431,
                   "headers-too-large",
                   "The headers are too large",
                   tooLong("The request's header", raw.headerBytes, limits_.headers),
                   {}};
  }
  return std::nullopt;
}

std::optional<Problem> Gate::checkToken(const RawRequest& raw) const {
  if (isRead(raw.method)) {
    return std::nullopt;
  }
  const bool isOnly = raw.authorizations.size() == 1;
  const std::string_view shown = isOnly ? bearerToken(raw.authorizations.front()) : "";
  if (!token_.empty() && isSameSecret(shown, token_)) {
    return std::nullopt;
  }
  std::string where(kTokenPath);
  where += " of the agent's home";
  return Problem{401,
                 "unauthorized",
                 "The token is missing or wrong",
                 raw.method +
                     " needs the header \"Authorization: Bearer TOKEN\"; the token is in " + where +
                     ".",
                 {}};
}

std::optional<Problem> Gate::checkContent(std::uint64_t bytes) const {
  if (bytes <= limits_.body) {
    return std::nullopt;
  }
  return Problem{413,
                 "content-too-large",
                 "The content is too large",
                 tooLong("The request's content", bytes, limits_.body),
                 {}};
}

std::optional<Problem> Gate::checkHost(const RawRequest& raw) const {
  if (raw.hosts.size() != 1) {
    return badRequest("A request needs exactly one Host header; this one has " +
                      std::to_string(raw.hosts.size()) + ".");
  }
  if (!isOwnAuthority(raw.hosts.front())) {
    return Problem{421,
                   "misdirected",
                   "The request is for another host",
                   "The request asks for host \"" + raw.hosts.front() +
                       "\". The agent answers only at http://" + authorities_.front() + "/.",
                   {}};
  }
  return std::nullopt;
}

std::optional<Problem> Gate::checkOrigin(const RawRequest& raw) const {
  constexpr std::string_view kScheme = "http://";
  for (const std::string& origin : raw.origins) {
    const std::string_view text = origin;
    if (!equalsIgnoringCase(text.substr(0, kScheme.size()), kScheme) ||
        !isOwnAuthority(text.substr(kScheme.size()))) {
      return Problem{403,
                     "foreign-origin",
                     "Pages of other sites may not send requests",
                     "The request comes from a page of \"" + origin +
                         "\"; only pages of the agent itself may send it requests.",
                     {}};
    }
  }
  return std::nullopt;
}

}  // namespace fw::http
