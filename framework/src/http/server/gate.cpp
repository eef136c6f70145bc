#include "http/server/gate.h"

#include <algorithm>
#include <charconv>
#include <limits>
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

/// A length in bytes. One that is too great for a number is greater than any limit.
std::optional<std::uint64_t> parseLength(std::string_view text) {
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
    return std::nullopt;
  }
  return error == std::errc() ? length : std::numeric_limits<std::uint64_t>::max();
}

/// Whether a browser says that a page of another site asks; it sends no Origin with a plain GET.
bool isForeignFetch(const RawRequest& raw) {
  if (raw.fetchSite != "cross-site" && raw.fetchSite != "same-site") {
    return false;  // of the agent's own page, typed in by the user, or not of a browser
  }
  const bool isFollowedLink =
      isRead(raw.method) && raw.fetchMode == "navigate" && raw.fetchDestination == "document";
  return !isFollowedLink;
}

Problem foreignOrigin(const std::string& page) {
  return {
      403,
      "foreign-origin",
      "Pages of other sites may not send requests",
      "The request comes from " + page + "; only pages of the agent itself may send it requests.",
      {}};
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
  const std::optional<AbsoluteTarget> absolute = splitAbsoluteTarget(raw.target);
  std::string_view authority;
  if (absolute) {
    authority = absolute->authority;  // it outranks the Host header
  } else if (!raw.hosts.empty()) {
    authority = raw.hosts.front();
  }
  for (auto problem : {checkLimits(raw), checkFraming(raw), checkHost(raw, authority),
                       checkOrigin(raw), checkToken(raw), checkLength(raw)}) {
    if (problem) {
      return *std::move(problem);
    }
  }
  Request request;
  request.method = raw.method;
  request.contentType = raw.contentType;
  request.acceptLanguage = raw.acceptLanguage;
  request.lastEventId = raw.lastEventId;
  if (auto error = parseTarget(absolute ? absolute->rest : raw.target, request.target)) {
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

std::optional<Problem> Gate::checkFraming(const RawRequest& raw) const {
  if (!raw.malformed.empty()) {
    return badRequest(raw.malformed);
  }
  if (raw.target.find(' ') != std::string::npos) {
    return badRequest("The request target holds a blank; write it as %20.");
  }
  if (raw.contentLengths.size() > 1) {
    return badRequest("A request has at most one Content-Length header; this one has " +
                      std::to_string(raw.contentLengths.size()) + ".");
  }
  if (!raw.contentLengths.empty() && !parseLength(raw.contentLengths.front())) {
    return badRequest("The value of Content-Length is not a number of bytes.");
  }
  if (raw.transferEncodings.empty()) {
    return std::nullopt;
  }
  if (!raw.contentLengths.empty()) {
    return badRequest("A request has Content-Length or Transfer-Encoding; this one has both.");
  }
  if (raw.version == "HTTP/1.0") {
    return badRequest("HTTP/1.0 has no Transfer-Encoding; give the Content-Length.");
  }
  if (raw.transferEncodings.size() > 1 ||
      !equalsIgnoringCase(raw.transferEncodings.front(), "chunked")) {
    return Problem{501,
                   "unknown-transfer-coding",
                   "The transfer coding is not known",
                   "The only transfer coding that is known here is \"chunked\".",
                   {}};
  }
  return std::nullopt;
}

std::optional<Problem> Gate::checkLength(const RawRequest& raw) const {
  return raw.contentLengths.empty()
             ? std::nullopt
             : checkContent(parseLength(raw.contentLengths.front()).value_or(0));
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

std::optional<Problem> Gate::checkHost(const RawRequest& raw, std::string_view authority) const {
  if (raw.hosts.size() != 1) {
    return badRequest("A request needs exactly one Host header; this one has " +
                      std::to_string(raw.hosts.size()) + ".");
  }
  if (!isOwnAuthority(authority)) {
    return Problem{421,
                   "misdirected",
                   "The request is for another host",
                   "The request asks for host \"" + std::string(authority) +
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
      return foreignOrigin("a page of \"" + origin + '"');
    }
  }
  if (isForeignFetch(raw)) {
    return foreignOrigin("a page of another site (Sec-Fetch-Site: " + raw.fetchSite + ')');
  }
  return std::nullopt;
}

}  // namespace fw::http
