#include "http/api/stream_request.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "basic/nearest.h"
#include "http/api/api_parameters.h"

namespace fw::http {

namespace {

/// Filters that one request may have of each sort.
constexpr std::size_t kMaxFilters = 64;

Problem unknownKind(const std::string& kind) {
  const std::vector<std::string> known(std::begin(kStreamKinds), std::end(kStreamKinds));
  Problem problem{400,
                  "unknown-kind",
                  "There is no such kind of entries",
                  "There is no kind \"" + kind +
                      "\"; parameter kind takes event, subnode, situation and action.",
                  {{"parameter", "kind"}}};
  if (std::string nearest = nearestOf(kind, known); !nearest.empty()) {
    problem.extras.emplace_back("nearest", std::move(nearest));
  }
  return problem;
}

Problem badPosition(const std::string& text, const char* where) {
  return {400,
          "bad-position",
          "The position can't be understood",
          "\"" + text + "\" in " + where +
              " is no position in the stream; give the id of an entry as the agent sent it, or "
              "none to begin now.",
          {{"parameter", where}}};
}

Problem tooManyFilters(const char* parameter) {
  return {400,
          "out-of-range",
          "A parameter is out of range",
          "Parameter " + std::string(parameter) + " is given more than " +
              std::to_string(kMaxFilters) + " times; without it nothing is left out.",
          {{"parameter", parameter},
           {"minimum", std::int64_t{0}},
           {"maximum", std::int64_t{kMaxFilters}}}};
}

}  // namespace

std::variant<StreamRequest, Problem> parseStreamRequest(const std::vector<Parameter>& parameters,
                                                        const std::string& lastEventId) {
  StreamRequest request;
  request.filter.kinds = findParameters(parameters, "kind");
  request.filter.tables = findParameters(parameters, "table");
  if (request.filter.kinds.size() > kMaxFilters) {
    return tooManyFilters("kind");
  }
  if (request.filter.tables.size() > kMaxFilters) {
    return tooManyFilters("table");
  }
  for (const std::string& kind : request.filter.kinds) {
    if (std::find(std::begin(kStreamKinds), std::end(kStreamKinds), kind) ==
        std::end(kStreamKinds)) {
      return unknownKind(kind);
    }
  }
  const bool inHeader = !lastEventId.empty();
  const std::string text = inHeader ? lastEventId : findParameter(parameters, "after").value_or("");
  if (!text.empty()) {
    request.after = JournalPosition::parse(text);
    if (!request.after) {
      return badPosition(text, inHeader ? "Last-Event-ID" : "after");
    }
  }
  return request;
}

}  // namespace fw::http
