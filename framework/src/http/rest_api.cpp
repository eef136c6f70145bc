#include "http/rest_api.h"

#include <optional>
#include <utility>
#include <vector>

#include "basic/nearest.h"
#include "http/agent_json.h"
#include "http/api_parameters.h"
#include "http/page.h"
#include "http/problem.h"
#include "http/request_problem.h"
#include "http/rows_body.h"

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

}  // namespace

/// What stands at an address.
struct RestApi::Route {
  enum class To { Nothing, Page, Health, Readiness, Agent, Tables, Table, Rows, Subnodes };
  To to = To::Nothing;
  std::vector<std::string> parameters = {};  ///< that it takes
  const PageFile* file = nullptr;            ///< of To::Page
};

RestApi::RestApi(Agent& agent, std::function<Counters()> counters)
    : agent_(agent), counters_(std::move(counters)) {}

RestApi::Route RestApi::route(const Target& target) const {
  using To = Route::To;
  const std::vector<std::string>& at = target.segments;
  if (const PageFile* file = findPageFile(target.path)) {
    return {To::Page, {}, file};
  }
  if (at.size() == 1) {
    return {at[0] == "healthz" ? To::Health : at[0] == "readyz" ? To::Readiness : To::Nothing};
  }
  if (at.size() < 3 || at[0] != "api" || at[1] != "v1") {
    return {};
  }
  if (at.size() == 3) {
    return {at[2] == "agent"      ? To::Agent
            : at[2] == "tables"   ? To::Tables
            : at[2] == "subnodes" ? To::Subnodes
                                  : To::Nothing};
  }
  if (at[2] != "tables" || at[3].empty()) {
    return {};
  }
  if (at.size() == 4) {
    return {To::Table};
  }
  return at.size() == 5 && at[4] == "rows" ? Route{To::Rows, {"subnode", "where", "limit"}}
                                           : Route{};
}

void RestApi::handle(const Request& request, std::shared_ptr<Responder> responder) {
  const std::string& path = request.target.path;
  const Route found = route(request.target);
  if (found.to == Route::To::Nothing) {
    return responder->send(problemResponse(notFound(path), path));
  }
  if (!isRead(request.method)) {
    return responder->send(problemResponse(methodNotAllowed(request.method), path));
  }
  if (auto problem = checkParameters(request.target.parameters, found.parameters)) {
    return responder->send(problemResponse(*problem, path));
  }
  switch (found.to) {
    case Route::To::Page:
      return responder->send(pageFile(*found.file));
    case Route::To::Health:
      return responder->send(json("{\"status\": \"ok\"}\n"));
    case Route::To::Readiness:
      return responder->send(readiness(path));
    case Route::To::Agent:
      return responder->send(json(agentJson(agent_.status(), counters_())));
    case Route::To::Tables:
      return responder->send(json(tablesJson(agent_.tables())));
    case Route::To::Table:
      return responder->send(table(request));
    case Route::To::Subnodes:
      return responder->send(json(subnodesJson(agent_.subnodes())));
    case Route::To::Rows:
    case Route::To::Nothing:
      return rows(request, std::move(responder));
  }
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
  std::vector<std::string> known;
  for (const TableStatus& each : agent_.tables()) {
    known.push_back(each.info->name);
  }
  RequestError error{RequestError::Kind::UnknownTable,
                     "There is no table \"" + name + "\"; /api/v1/tables lists them.",
                     {},
                     nearestOf(name, known)};
  return problemResponse(toProblem(error), request.target.path);
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
    report.limit = parseNumber("limit", *limit, 1, kMaxLimit, problem);
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
