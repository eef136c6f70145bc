// The headers that decide whether a request may come in: lines of a letter, "=" and a value; M is
// the method, T the target, and H, O and A are headers Host, Origin and Authorization.

#include <algorithm>

#include "basic/utf8.h"
#include "fuzz/fuzz_target.h"
#include "http/server/gate.h"

namespace {

// Begins with characters that no escape of a problem's text ends with.
constexpr const char* kToken = "Z~0123456789abcdef0123456789abcdef";

fw::http::RawRequest readRequest(std::string_view input) {
  fw::http::RawRequest raw;
  while (!input.empty()) {
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string_view line = input.substr(0, end);
    input.remove_prefix(std::min(end + 1, input.size()));
    const std::string value(line.substr(std::min<std::size_t>(2, line.size())));
    switch (line.empty() ? '\0' : line[0]) {
      case 'M':
        raw.method = value;
        break;
      case 'T':
        raw.target = value;
        break;
      case 'H':
        raw.hosts.push_back(value);
        break;
      case 'O':
        raw.origins.push_back(value);
        break;
      case 'A':
        raw.authorizations.push_back(value);
        break;
      case 'V':
        raw.version = value;
        break;
      case 'L':
        raw.contentLengths.push_back(value);
        break;
      case 'E':
        raw.transferEncodings.push_back(value);
        break;
      case 'F':
        raw.fetchSite = value;
        break;
      default:
        break;
    }
  }
  return raw;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

/// The rule itself, for a server on port 8080.
bool isOwn(const std::string& authority) {
  const std::string text = lower(authority);
  return text == "127.0.0.1:8080" || text == "localhost:8080" || text == "[::1]:8080";
}

void checkAdmitted(const fw::http::RawRequest& raw) {
  const auto absolute = fw::http::splitAbsoluteTarget(raw.target);
  fuzz::check(raw.hosts.size() == 1 && isOwn(absolute ? absolute->authority : raw.hosts.front()),
              "the host is this one");
  for (const std::string& origin : raw.origins) {
    fuzz::check(lower(origin).starts_with("http://") && isOwn(origin.substr(7)),
                "a page is one of the agent's");
  }
  if (raw.method != "GET" && raw.method != "HEAD") {
    fuzz::check(raw.authorizations.size() == 1 &&
                    lower(raw.authorizations.front()).starts_with("bearer ") &&
                    raw.authorizations.front().substr(7) == kToken,
                "who changes something shows the token");
  }
  fuzz::check(raw.target.size() <= fw::http::GateLimits().target, "the target fits");
  fuzz::check(raw.contentLengths.size() + raw.transferEncodings.size() <= 1,
              "it is clear where the request ends");
  fuzz::check(raw.transferEncodings.empty() || raw.version != "HTTP/1.0",
              "the version has that transfer coding");
  fuzz::check(raw.contentLengths.empty() ||
                  std::stoull(raw.contentLengths.front()) <= fw::http::GateLimits().body,
              "the content fits");
  fuzz::check(raw.fetchSite != "cross-site", "no page of another site sends it");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fw::http::Gate gate(8080, {}, kToken);
  const fw::http::RawRequest raw = readRequest(fuzz::textOf(data, size));
  const auto result = gate.check(raw);
  if (const auto* problem = std::get_if<fw::http::Problem>(&result)) {
    fuzz::check((problem->status >= 400 && problem->status < 500) || problem->status == 501,
                "the client is told of a mistake");
    const fw::http::Response response = fw::http::problemResponse(*problem, raw.target);
    const auto& content = std::get<std::string>(response.content);
    fuzz::check(fw::isValidUtf8(content), "a problem is text");
    fuzz::check(content.find(kToken) == std::string::npos ||
                    fuzz::textOf(data, size).find(kToken) != std::string_view::npos,
                "a problem does not tell the token");
    return 0;
  }
  checkAdmitted(raw);
  return 0;
}
