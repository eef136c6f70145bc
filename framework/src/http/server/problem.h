#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "http/server/response.h"

namespace fw::http {

/// An error as RFC 9457 describes it. The kind becomes the type "urn:zel:problem:KIND".
struct Problem {
  using Extra = std::variant<std::int64_t, std::string, std::vector<std::string>>;

  int status;
  std::string_view kind;
  std::string_view title;  ///< the same for every problem of a kind
  std::string detail;      ///< what happened and what helps, whole sentences
  std::vector<std::pair<std::string, Extra>> extras;
  std::string allow = {};  ///< of a 405: the methods that the address takes, as a header lists them
};

/// The answer that reports a problem with the request for `path`.
Response problemResponse(const Problem& problem, std::string_view path);

/// The problem of an unknown name; it gets the known one that may have been meant.
Problem withNearest(Problem problem, std::string_view name, const std::vector<std::string>& known);

// The problems that more than one place reports.
Problem badRequest(std::string detail);
Problem notFound(std::string_view path);
Problem methodNotAllowed(std::string_view method, std::string allow);
Problem busy(std::string detail);
Problem notReady(std::string detail);
Problem stopping(
    std::string detail = "The agent has been told to stop and accepts no more requests.");

}  // namespace fw::http
