#include "http/api/stream_request.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "agent/agent.h"
#include "http/api/request_problem.h"
#include "http/api/stream_hub.h"
#include "http/server/gate.h"

namespace fw::http {

namespace {

std::optional<Problem> checkKind(const std::string& kind) {
  const std::vector<std::string> known(std::begin(kStreamKinds), std::end(kStreamKinds));
  if (std::find(known.begin(), known.end(), kind) != known.end()) {
    return std::nullopt;
  }
  return withNearest({400,
                      "unknown-kind",
                      "There is no such kind of entry",
                      "There is no kind \"" + kind +
                          "\"; parameter kind takes event, subnode, situation and action.",
                      {{"parameter", "kind"}}},
                     kind, known);
}

Problem badPosition(const std::string& text, const char* where) {
  return {400,
          "bad-position",
          "The position can't be understood",
          "\"" + text + "\" in " + where +
              " is not a position in the stream; give the id of an entry as the agent sent it, "
              "or none to begin now.",
          {{"parameter", where}}};
}

}  // namespace

std::vector<ParameterRule> streamParameters() {
  return {{.name = "after"},
          {.name = "kind", .check = checkKind, .times = kMaxFilters},
          {.name = "table", .times = kMaxFilters}};
}

std::variant<StreamRequest, Problem> parseStreamRequest(const std::vector<Parameter>& parameters,
                                                        const std::string& lastEventId) {
  StreamRequest request;
  request.filter.kinds = findParameters(parameters, "kind");
  request.filter.tables = findParameters(parameters, "table");
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

Response openStream(const Call& call, StreamHub& streams) {
  const std::string& path = call.request.target.path;
  auto parsed = parseStreamRequest(call.request.target.parameters, call.request.lastEventId);
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    return problemResponse(*problem, path);
  }
  auto& asked = std::get<StreamRequest>(parsed);
  for (const std::string& name : asked.filter.tables) {
    if (!call.agent.table(name)) {
      return problemResponse(unknownTable(call.agent, name), path);
    }
  }
  Response response;
  response.contentType = "text/event-stream";
  if (call.request.method == "HEAD") {
    return response;
  }
  Journal& journal = call.agent.journal();
  const JournalPosition after = asked.after.value_or(journal.last());
  auto body = streams.open(std::make_unique<EventStream>(journal, std::move(asked.filter), after));
  if (body == nullptr) {
    return problemResponse(busy("All " + std::to_string(streams.limit()) +
                                " live streams are open; close one, or raise http.stream_limit."),
                           path);
  }
  response.content = std::move(body);
  response.close = true;
  return response;
}

}  // namespace fw::http
