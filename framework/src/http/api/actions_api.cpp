#include "http/api/actions_api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "actions/actions.h"
#include "agent/agent.h"
#include "http/api/desk_json.h"
#include "http/api/json_input.h"
#include "http/api/request_problem.h"
#include "http/server/exchange.h"
#include "http/server/gate.h"

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
    problem = badMember(
        "node", "Members node and row both say where the command is to run; give only one.");
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
  return jsonResponse(actionJson(status), hasEnded ? 200 : 202);
}

}  // namespace

Response listActions(const Call& call) {
  return jsonResponse(actionsJson(call.agent.actionDesk().recent()));
}

void runAction(const Call& call, std::shared_ptr<Responder> responder) {
  const std::string& path = call.request.target.path;
  std::optional<Problem> problem;
  ActionRequest action = readAction(call.request, problem);
  if (problem) {
    return responder->send(problemResponse(*problem, path));
  }
  call.agent.actionDesk().run(std::move(action),
                              [responder = std::move(responder), path](auto outcome) {
                                responder->send(toResponse(outcome, path));
                              });
}

}  // namespace fw::http
