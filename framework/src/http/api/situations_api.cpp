#include "http/api/situations_api.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "basic/nearest.h"
#include "http/api/desk_json.h"
#include "http/api/json_input.h"
#include "http/api/request_problem.h"
#include "http/server/problem.h"
#include "situations/situations.h"

namespace fw::http {

namespace {

constexpr std::int64_t kMaxInterval = 86'400;  ///< seconds: a day

const std::string& nameIn(const Request& request) { return request.target.segments[3]; }

Response refused(const Request& request, const RequestError& error) {
  return problemResponse(toProblem(error), request.target.path);
}

Response unknown(Agent& agent, const Request& request) {
  const std::string& name = nameIn(request);
  std::vector<std::string> known;
  for (const SituationStatus& each : agent.situationDesk().situations()) {
    known.push_back(each.request.name);
  }
  return refused(request, {RequestError::Kind::UnknownSituation,
                           "There is no situation \"" + name + "\"; /api/v1/situations lists them.",
                           {},
                           nearestOf(name, known)});
}

}  // namespace

Response listSituations(Agent& agent) {
  Response response;
  response.body = situationsJson(agent.situationDesk().situations());
  return response;
}

Response showSituation(Agent& agent, const Request& request) {
  const auto status = agent.situationDesk().situation(nameIn(request));
  if (!status) {
    return unknown(agent, request);
  }
  Response response;
  response.body = situationJson(*status);
  return response;
}

Response addSituation(Agent& agent, const Request& request) {
  SituationStatus asked;
  std::int64_t seconds = 0;
  const auto problem =
      readJson(request, {textMember("name", kRequired, asked.request.name),
                         textMember("table", kRequired, asked.request.table),
                         textMember("where", kOptional, asked.request.where),
                         textsMember("subnodes", kOptional, asked.request.subnodes),
                         numberMember("interval", kOptional, 1, kMaxInterval, seconds)});
  if (problem) {
    return problemResponse(*problem, request.target.path);
  }
  asked.request.interval = std::chrono::seconds(seconds);
  if (const auto error = agent.situationDesk().watch(asked.request)) {
    return refused(request, *error);
  }
  Response response;
  response.status = 201;
  response.headers.push_back({"Location", "/api/v1/situations/" + asked.request.name});
  // Somebody else may have ended it in the meantime.
  response.body =
      situationJson(agent.situationDesk().situation(asked.request.name).value_or(asked));
  return response;
}

Response removeSituation(Agent& agent, const Request& request) {
  Situations& desk = agent.situationDesk();
  auto before = desk.situation(nameIn(request));
  if (!before) {
    return unknown(agent, request);
  }
  if (const auto error = desk.unwatch(nameIn(request))) {
    return refused(request, *error);
  }
  before->state = SituationStatus::State::Disarming;
  Response response;
  response.status = 202;
  response.body = situationJson(desk.situation(nameIn(request)).value_or(*before));
  return response;
}

}  // namespace fw::http
