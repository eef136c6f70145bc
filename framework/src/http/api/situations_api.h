#pragma once

#include "agent/agent.h"
#include "http/server/gate.h"
#include "http/server/response.h"

namespace fw::http {

// Requests about the situations of an agent.
Response listSituations(Agent& agent);
Response showSituation(Agent& agent, const Request& request);
Response addSituation(Agent& agent, const Request& request);
Response removeSituation(Agent& agent, const Request& request);

}  // namespace fw::http
