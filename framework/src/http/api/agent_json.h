#pragma once

#include <string>
#include <vector>

#include "agent/agent.h"
#include "basic/clock.h"

namespace fw::http {

struct Counters;

// The JSON documents of the agent, its tables and its subnodes; docs/formats/rest-api.md shows
// them.
std::string agentJson(const AgentStatus& agent, const Counters& server);
std::string tablesJson(const std::vector<TableStatus>& tables);
std::string tableJson(const TableStatus& table);  ///< with its columns
std::string subnodesJson(const std::vector<SubnodeInfo>& subnodes);

/// A subnode that changed at a moment, in one line.
std::string subnodeLine(const SubnodeInfo& subnode, Clock::WallTime time);

/// "starting", "loading", "ready" or "stopping".
const char* toText(AgentStatus::State state);

}  // namespace fw::http
