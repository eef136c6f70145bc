#include "http/api/agent_api.h"

#include <optional>
#include <string>

#include "agent/agent.h"
#include "http/api/agent_json.h"
#include "http/api/request_problem.h"
#include "http/server/gate.h"
#include "http/server/problem.h"

namespace fw::http {

Response showHealth(const Call& /*call*/) { return jsonResponse("{\"status\": \"ok\"}\n"); }

Response showReadiness(const Call& call) {
  const AgentStatus::State state = call.agent.status().state;
  if (state == AgentStatus::State::Ready) {
    return jsonResponse("{\"status\": \"ready\"}\n");
  }
  Problem problem = notReady(std::string("The agent is ") + toText(state) + ".");
  problem.extras.emplace_back("state", toText(state));
  return problemResponse(problem, call.request.target.path);
}

Response showAgent(const Call& call, const Counters& server) {
  return jsonResponse(agentJson(call.agent.status(), server));
}

Response listTables(const Call& call) { return jsonResponse(tablesJson(call.agent.tables())); }

Response showTable(const Call& call) {
  if (const auto found = call.agent.table(call.name)) {
    return jsonResponse(tableJson(*found));
  }
  return problemResponse(unknownTable(call.agent, call.name), call.request.target.path);
}

Response listSubnodes(const Call& call) {
  return jsonResponse(subnodesJson(call.agent.subnodes()));
}

}  // namespace fw::http
