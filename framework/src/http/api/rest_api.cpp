#include "http/api/rest_api.h"

#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "agent/agent.h"
#include "http/api/actions_api.h"
#include "http/api/agent_api.h"
#include "http/api/events_request.h"
#include "http/api/rows_request.h"
#include "http/api/situations_api.h"
#include "http/api/stream_request.h"
#include "http/page/page.h"
#include "http/server/problem.h"

namespace fw::http {

namespace {

Route toRoute(const PageFile& file) {
  const bool isPage = file.path == "/";
  return {
      file.path, isPage ? "a web page: live rows of a chosen table" : "", {}, [&file](const Call&) {
        Response response;
        response.contentType = file.contentType;
        response.content = StaticText{file.content};
        return response;
      }};
}

std::vector<Route> join(std::vector<Route> routes, std::vector<Route> more) {
  routes.insert(routes.end(), std::make_move_iterator(more.begin()),
                std::make_move_iterator(more.end()));
  for (const PageFile& file : pageFiles()) {
    routes.push_back(toRoute(file));
  }
  return routes;
}

}  // namespace

RestApi::RestApi(Agent& agent, std::function<Counters()> counters, std::uint32_t streamLimit,
                 std::vector<Route> more)
    : agent_(agent),
      serverCounters_(std::move(counters)),
      streams_(agent.journal(), streamLimit),
      table_(join(ownRoutes(), std::move(more))) {}

std::vector<Route> RestApi::ownRoutes() {
  const auto index = [this](const Call&) { return jsonResponse(indexJson(routes())); };
  const auto agent = [this](const Call& call) { return showAgent(call, counters()); };
  const auto stream = [this](const Call& call) { return openStream(call, streams_); };
  return {
      {"/api/v1/", "this list", {}, index},
      {"/api/v1/agent", "who the agent is and how it is doing", {}, agent},
      {"/api/v1/tables", "all tables and the state of their sampling", {}, listTables},
      {"/api/v1/tables/{table}", "one table with its columns", {}, showTable},
      {"/api/v1/tables/{table}/rows", "the table's current rows", rowsParameters(), readRows},
      {"/api/v1/tables/{table}/events", "the recent events of an event table", eventsParameters(),
       readEvents},
      {"/api/v1/subnodes", "the monitored systems, online or offline", {}, listSubnodes},
      {"/api/v1/situations",
       "the situations being watched; POST adds one",
       {},
       listSituations,
       {{"POST", addSituation}}},
      {"/api/v1/situations/{situation}",
       "one situation; DELETE ends it",
       {},
       showSituation,
       {{"DELETE", removeSituation}}},
      {"/api/v1/actions",
       "the most recent commands; POST runs one",
       {},
       listActions,
       {{"POST", runAction}}},
      {"/api/v1/stream", "what happens, live", streamParameters(), stream},
      {"/healthz", "200 as long as the process serves", {}, showHealth},
      {"/readyz", "200 when the agent is ready, else 503", {}, showReadiness},
  };
}

void RestApi::handle(const Request& request, std::shared_ptr<Responder> responder) {
  const std::string& path = request.target.path;
  auto [route, name] = table_.match(request.target.segments);
  if (route == nullptr) {
    return responder->send(problemResponse(notFound(path), path));
  }
  const Operation* const operation = route->find(request.method);
  if (operation == nullptr) {
    return responder->send(problemResponse(methodNotAllowed(request.method, route->allow()), path));
  }
  if (const auto problem = checkParameters(request.target.parameters, route->parameters)) {
    return responder->send(problemResponse(*problem, path));
  }
  const Call call{agent_, request, std::move(name)};
  if (const auto* answer = std::get_if<Answer>(operation)) {
    return responder->send((*answer)(call));
  }
  const auto& answerLater = std::get<LaterAnswer>(*operation);
  answerLater(call, std::move(responder));
}

Counters RestApi::counters() const {
  Counters counters = serverCounters_();
  counters.streamsRefused = streams_.refused();
  return counters;
}

}  // namespace fw::http
