#pragma once

#include "http/api/route.h"

namespace fw::http {

struct Counters;

// Whether the process serves, and whether the agent is ready for requests.
Response showHealth(const Call& call);
Response showReadiness(const Call& call);

// The agent, its tables and its subnodes.
Response showAgent(const Call& call, const Counters& server);
Response listTables(const Call& call);
Response showTable(const Call& call);
Response listSubnodes(const Call& call);

}  // namespace fw::http
