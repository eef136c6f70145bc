#pragma once

#include "agent/agent.h"
#include "http/server/gate.h"
#include "http/server/response.h"

namespace fw::http {

/// Answers a request for the recent events of a table.
Response answerEvents(Agent& agent, const Request& request);

}  // namespace fw::http
