#include "http/api/actions_api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "actions/actions.h"
#include "http/api/desk_json.h"
#include "http/api/json_input.h"
#include "http/api/request_problem.h"
#include "http/server/problem.h"

namespace fw::http {

namespace {

/// Reads the content of a request; sets `problem` if it can't.
ActionRequest readAction(const Request& request, std::optional<Problem>& problem) {
  ActionRequest action;
  ActionRequest::Row row;
  std::optional<std::string> node;
  bool hasRow = false;
  std::size_t codePage = 0;  // its number among the choices is the agent's
  problem =
      readJson(request, {textMember("command", kRequired, action.command),
                         textMember("node", kOptional, node),
                         objectMember("row", kOptional, hasRow,
                                      {textMember("table", kRequired, row.table),
                                       textMember("subnode", kOptional, row.subnode),
                                       textMember("where", kOptional, row.where)}),
                         choiceMember("code_page", kOptional, {"native", "utf-8"}, codePage)});
  if (!problem && node && hasRow) {
    problem = Problem{400,
                      "bad-member",
                      "A member of the content can't be used",
                      "Members node and row both say where the command is to run; give one.",
                      {{"member", "node"}}};
  }
  action.node = node.value_or("");
  action.codePage = static_cast<std::int32_t>(codePage);
  if (hasRow) {
    action.row = std::move(row);
  }
  return action;
}

Response toResponse(const std::variant<ActionStatus, RequestError>& outcome,
                    const std::string& path) {
  if (const auto* error = std::get_if<RequestError>(&outcome)) {
    return problemResponse(toProblem(*error), path);
  }
  const auto& status = std::get<ActionStatus>(outcome);
  const bool hasEnded =
      status.state == ActionStatus::State::Completed || status.state == ActionStatus::State::Failed;
  Response response;
  response.status = hasEnded ? 200 : 202;
  response.body = actionJson(status);
  return response;
}

}  // namespace

Response listActions(Agent& agent) {
  Response response;
  response.body = actionsJson(agent.actionDesk().recent());
  return response;
}

void runAction(Agent& agent, const Request& request, std::shared_ptr<Responder> responder) {
  std::optional<Problem> problem;
  ActionRequest action = readAction(request, problem);
  if (problem) {
    return responder->send(problemResponse(*problem, request.target.path));
  }
  agent.actionDesk().run(std::move(action),
                         [responder = std::move(responder), path = request.target.path](
                             auto outcome) { responder->send(toResponse(outcome, path)); });
}

}  // namespace fw::http
