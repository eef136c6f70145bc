#include "http/server/server_options.h"

#include <algorithm>

namespace fw::http {

namespace {

/// What an answer may take on top of the deadline of its work, so that the work's own word about
/// the deadline comes first.
constexpr std::chrono::seconds kAnswerMargin{5};

}  // namespace

ServerOptions serverOptions(const AgentConfig& agentConfig) {
  const HttpConfig& config = agentConfig.http;
  ServerOptions options;
  options.port = config.port;
  options.connections = {config.maxConnections, config.maxConnectionsPerAddress};
  options.connectionMemory = config.connectionMemory;
  options.idleTimeout = std::chrono::ceil<std::chrono::seconds>(config.idleTimeout);
  options.deadlines.receive = config.requestDeadline;
  for (const std::chrono::milliseconds work :
       {agentConfig.engine.reportDeadline, agentConfig.actions.deadline,
        agentConfig.services.deadline}) {
    options.deadlines.answer = std::max(options.deadlines.answer, work + kAnswerMargin);
  }
  options.limits.body = config.bodyLimit;
  // The library's own refusal of what does not fit into its memory is bare; these say more.
  options.limits.headers = config.connectionMemory / 2;
  options.limits.target = config.connectionMemory / 4;
  return options;
}

}  // namespace fw::http
