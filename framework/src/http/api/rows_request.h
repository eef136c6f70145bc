#pragma once

#include <memory>
#include <vector>

#include "http/api/route.h"

namespace fw::http {

std::vector<ParameterRule> rowsParameters();

/// Answers with the rows of a table, when the agent has them.
void readRows(const Call& call, std::shared_ptr<Responder> responder);

}  // namespace fw::http
