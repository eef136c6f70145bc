#pragma once

#include <string>

#include "engine/request_error.h"
#include "http/server/problem.h"

namespace fw {
class Agent;
}  // namespace fw

namespace fw::http {

/// Tells a client why its request was refused.
Problem toProblem(const RequestError& error);

/// Says that the agent has no table of that name.
Problem unknownTable(const Agent& agent, const std::string& name);

}  // namespace fw::http
