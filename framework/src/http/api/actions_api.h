#pragma once

#include <memory>

#include "http/api/route.h"

namespace fw::http {

// Requests about the actions of an agent.
Response listActions(const Call& call);
void runAction(const Call& call, std::shared_ptr<Responder> responder);

}  // namespace fw::http
