#include "http/api/situations_api.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/agent.h"
#include "basic/nearest.h"
#include "http/api/desk_json.h"
#include "http/api/json_input.h"
#include "http/api/request_problem.h"
#include "http/server/gate.h"
#include "situations/situations.h"

namespace fw::http {

namespace {

constexpr std::int64_t kMaxInterval = 86'400;  ///< seconds: a day

Response refused(const Call& call, const RequestError& error) {
  return problemResponse(toProblem(error), call.request.target.path);
}

Response unknown(const Call& call) {
  std::vector<std::string> known;
  for (const SituationStatus& each : call.agent.situationDesk().situations()) {
    known.push_back(each.request.name);
  }
  return refused(call,
                 {RequestError::Kind::UnknownSituation,
                  "There is no situation \"" + call.name + "\"; /api/v1/situations lists them.",
                  {},
                  nearestOf(call.name, known)});
}

}  // namespace

Response listSituations(const Call& call) {
  return jsonResponse(situationsJson(call.agent.situationDesk().situations()));
}

Response showSituation(const Call& call) {
  const auto status = call.agent.situationDesk().situation(call.name);
  return status ? jsonResponse(situationJson(*status)) : unknown(call);
}

Response addSituation(const Call& call) {
  SituationStatus asked;
  std::int64_t seconds = 0;
  const auto problem =
      readJson(call.request, {textMember("name", kRequired, asked.request.name),
                              textMember("table", kRequired, asked.request.table),
                              textMember("where", kOptional, asked.request.where),
                              textsMember("subnodes", kOptional, asked.request.subnodes),
                              numberMember("interval", kOptional, 1, kMaxInterval, seconds)});
  if (problem) {
    return problemResponse(*problem, call.request.target.path);
  }
  asked.request.interval = std::chrono::seconds(seconds);
  Situations& desk = call.agent.situationDesk();
  if (const auto error = desk.watch(asked.request)) {
    return refused(call, *error);
  }
  // Somebody else may have ended it in the meantime.
  Response response =
      jsonResponse(situationJson(desk.situation(asked.request.name).value_or(asked)), 201);
  response.headers.push_back({"Location", "/api/v1/situations/" + asked.request.name});
  return response;
}

Response removeSituation(const Call& call) {
  Situations& desk = call.agent.situationDesk();
  auto before = desk.situation(call.name);
  if (!before) {
    return unknown(call);
  }
  if (const auto error = desk.unwatch(call.name)) {
    return refused(call, *error);
  }
  before->state = SituationStatus::State::Disarming;
  return jsonResponse(situationJson(desk.situation(call.name).value_or(*before)), 202);
}

}  // namespace fw::http
