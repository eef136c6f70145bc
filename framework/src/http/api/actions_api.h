#pragma once

#include <memory>

#include "agent/agent.h"
#include "http/server/exchange.h"
#include "http/server/gate.h"
#include "http/server/response.h"

namespace fw::http {

// Requests about the actions of an agent.
Response listActions(Agent& agent);
void runAction(Agent& agent, const Request& request, std::shared_ptr<Responder> responder);

}  // namespace fw::http
