#pragma once

#include "engine/request_error.h"
#include "http/server/problem.h"

namespace fw::http {

/// Tells a client why its request was refused.
Problem toProblem(const RequestError& error);

}  // namespace fw::http
