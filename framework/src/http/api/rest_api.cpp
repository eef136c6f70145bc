#include "http/api/rest_api.h"

#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "http/api/actions_api.h"
#include "http/api/agent_json.h"
#include "http/api/api_parameters.h"
#include "http/api/event_stream.h"
#include "http/api/events_request.h"
#include "http/api/request_problem.h"
#include "http/api/rows_body.h"
#include "http/api/situations_api.h"
#include "http/api/stream_request.h"
#include "http/page/page.h"
#include "http/server/problem.h"

namespace fw::http {

namespace {

Response json(std::string body) {
  Response response;
  response.body = std::move(body);
  return response;
}

Response pageFile(const PageFile& file) {
  Response response;
  response.contentType = file.contentType;
  response.fixedBody = file.content;
  return response;
}

Problem tooManyStreams(std::uint32_t limit) {
  return {503,
          "busy",
          "The agent is busy",
          "All " + std::to_string(limit) +
              " live streams are taken; close one, or raise http.stream_limit.",
          {}};
}

}  // namespace

/// What stands at an address.
struct RestApi::Route {
  enum class To {
    Nothing,
    Page,
    Health,
    Readiness,
    Agent,
    Tables,
    Table,
    Rows,
    Events,
    Subnodes,
    Situations,
    Situation,
    Actions,
    Stream,
  };
  To to = To::Nothing;
  std::vector<std::string> parameters = {};  ///< that it takes
  std::vector<std::string> repeatable = {};  ///< of these, those that may be repeated
  std::string_view change = {};              ///< the method that changes something here, if any
  const PageFile* file = nullptr;            ///< of To::Page

  /// The methods that it takes, as a header lists them.
  std::string_view allow() const {
    return change == "POST"     ? "GET, HEAD, POST"
           : change == "DELETE" ? "GET, HEAD, DELETE"
                                : "GET, HEAD";
  }
};

RestApi::RestApi(Agent& agent, std::function<Counters()> counters, std::uint32_t streamLimit)
    : agent_(agent), counters_(std::move(counters)), streams_(agent.journal(), streamLimit) {}

RestApi::Route RestApi::route(const Target& target) const {
  using To = Route::To;
  const std::vector<std::string>& at = target.segments;
  if (const PageFile* file = findPageFile(target.path)) {
    return {.to = To::Page, .file = file};
  }
  if (at.size() == 1) {
    return {at[0] == "healthz" ? To::Health : at[0] == "readyz" ? To::Readiness : To::Nothing};
  }
  if (at.size() < 3 || at[0] != "api" || at[1] != "v1") {
    return {};
  }
  if (at.size() == 3) {
    return routeTop(at[2]);
  }
  if (at[3].empty()) {
    return {};
  }
  if (at.size() == 4) {
    return at[2] == "tables"       ? Route{To::Table}
           : at[2] == "situations" ? Route{.to = To::Situation, .change = "DELETE"}
                                   : Route{};
  }
  if (at[2] != "tables" || at.size() != 5) {
    return {};
  }
  return at[4] == "rows"     ? Route{To::Rows, {"subnode", "where", "limit"}}
         : at[4] == "events" ? Route{To::Events, {"since", "limit", "where", "subnode"}}
                             : Route{};
}

RestApi::Route RestApi::routeTop(const std::string& name) {
  using To = Route::To;
  if (name == "stream") {
    return {To::Stream, kStreamParameters, kRepeatedStreamParameters};
  }
  if (name == "situations" || name == "actions") {
    return {.to = name == "actions" ? To::Actions : To::Situations, .change = "POST"};
  }
  return {name == "agent"      ? To::Agent
          : name == "tables"   ? To::Tables
          : name == "subnodes" ? To::Subnodes
                               : To::Nothing};
}

void RestApi::handle(const Request& request, std::shared_ptr<Responder> responder) {
  const std::string& path = request.target.path;
  const Route found = route(request.target);
  if (found.to == Route::To::Nothing) {
    return responder->send(problemResponse(notFound(path), path));
  }
  if (!isRead(request.method) && request.method != found.change) {
    return responder->send(problemResponse(methodNotAllowed(request.method, found.allow()), path));
  }
  if (auto problem =
          checkParameters(request.target.parameters, found.parameters, found.repeatable)) {
    return responder->send(problemResponse(*problem, path));
  }
  if (found.to == Route::To::Rows) {
    return rows(request, std::move(responder));
  }
  if (found.to == Route::To::Actions && !isRead(request.method)) {
    return runAction(agent_, request, std::move(responder));
  }
  responder->send(answer(found, request));
}

Response RestApi::answer(const Route& found, const Request& request) {
  const bool reads = isRead(request.method);
  switch (found.to) {
    case Route::To::Page:
      return pageFile(*found.file);
    case Route::To::Health:
      return json("{\"status\": \"ok\"}\n");
    case Route::To::Readiness:
      return readiness(request.target.path);
    case Route::To::Agent:
      return describeAgent();
    case Route::To::Tables:
      return json(tablesJson(agent_.tables()));
    case Route::To::Table:
      return table(request);
    case Route::To::Events:
      return answerEvents(agent_, request);
    case Route::To::Subnodes:
      return json(subnodesJson(agent_.subnodes()));
    case Route::To::Situations:
      return reads ? listSituations(agent_) : addSituation(agent_, request);
    case Route::To::Situation:
      return reads ? showSituation(agent_, request) : removeSituation(agent_, request);
    case Route::To::Actions:
      return listActions(agent_);
    case Route::To::Stream:
      return stream(request);
    case Route::To::Rows:
    case Route::To::Nothing:
      break;
  }
  return problemResponse(notFound(request.target.path), request.target.path);
}

Response RestApi::describeAgent() const {
  Counters counters = counters_();
  counters.streamsRefused = streams_.refused();
  return json(agentJson(agent_.status(), counters));
}

Response RestApi::stream(const Request& request) {
  const std::string& path = request.target.path;
  auto parsed = parseStreamRequest(request.target.parameters, request.lastEventId);
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    return problemResponse(*problem, path);
  }
  auto& asked = std::get<StreamRequest>(parsed);
  for (const std::string& name : asked.filter.tables) {
    if (!agent_.table(name)) {
      return problemResponse(unknownTable(name, tableNames()), path);
    }
  }
  Response response;
  response.contentType = "text/event-stream";
  if (request.method == "HEAD") {
    return response;
  }
  const JournalPosition after = asked.after.value_or(agent_.journal().last());
  response.live = streams_.open(
      std::make_unique<EventStream>(agent_.journal(), std::move(asked.filter), after));
  if (response.live == nullptr) {
    return problemResponse(tooManyStreams(streams_.limit()), path);
  }
  response.close = true;
  return response;
}

std::vector<std::string> RestApi::tableNames() const {
  std::vector<std::string> names;
  for (const TableStatus& each : agent_.tables()) {
    names.push_back(each.info->name);
  }
  return names;
}

Response RestApi::readiness(const std::string& path) const {
  const AgentStatus::State state = agent_.status().state;
  if (state == AgentStatus::State::Ready) {
    return json("{\"status\": \"ready\"}\n");
  }
  Problem problem{503,
                  "not-ready",
                  "The agent is not ready",
                  std::string("The agent is ") + toText(state) + ".",
                  {{"state", toText(state)}}};
  return problemResponse(problem, path);
}

Response RestApi::table(const Request& request) const {
  const std::string& name = request.target.segments[3];
  if (const std::optional<TableStatus> found = agent_.table(name)) {
    return json(tableJson(*found));
  }
  return problemResponse(unknownTable(name, tableNames()), request.target.path);
}

void RestApi::rows(const Request& request, std::shared_ptr<Responder> responder) const {
  const std::vector<Parameter>& parameters = request.target.parameters;
  ReportRequest report;
  report.table = request.target.segments[3];
  report.subnode = findParameter(parameters, "subnode");
  report.where = findParameter(parameters, "where").value_or("");
  report.limit = kDefaultLimit;
  if (const auto limit = findParameter(parameters, "limit")) {
    std::optional<Problem> problem;
    report.limit = static_cast<std::uint32_t>(parseNumber("limit", *limit, 1, kMaxLimit, problem));
    if (problem) {
      return responder->send(problemResponse(*problem, request.target.path));
    }
  }
  const std::uint32_t limit = report.limit;
  agent_.report(std::move(report), [responder = std::move(responder), limit,
                                    path = request.target.path](ReportResult result) {
    if (result.error) {
      return responder->send(problemResponse(toProblem(*result.error), path));
    }
    Response response;
    response.source = std::make_unique<RowsBody>(std::move(result), limit);
    responder->send(std::move(response));
  });
}

}  // namespace fw::http
