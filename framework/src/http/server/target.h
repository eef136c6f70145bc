#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw::http {

/// One name=value of a query, decoded.
struct Parameter {
  std::string name;
  std::string value;
};

/// A request target, decoded: valid UTF-8 without NUL.
struct Target {
  std::string path;                   ///< as sent, without the query
  std::string query;                  ///< as it was sent, without the "?"
  std::vector<std::string> segments;  ///< of "/api/v1/": "api", "v1", ""
  std::vector<Parameter> parameters;  ///< in the order in which they were sent
};

/// A request target in absolute form, as programs send it that take the agent for a proxy.
struct AbsoluteTarget {
  std::string authority;  ///< host and port
  std::string rest;       ///< begins with "/"
};

/// Takes "http://127.0.0.1:8790/path" apart; nothing for any other form.
std::optional<AbsoluteTarget> splitAbsoluteTarget(std::string_view raw);

/// A text as one segment of a path: all but letters, digits, "-", ".", "_" and "~" as %XX.
std::string encodeSegment(std::string_view text);

/// Parses a request target ("/path?name=value&..."). Returns what is wrong with it, for
/// people, or nothing.
std::optional<std::string> parseTarget(std::string_view raw, Target& target);

}  // namespace fw::http
