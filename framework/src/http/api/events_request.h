#pragma once

#include <vector>

#include "http/api/route.h"

namespace fw::http {

std::vector<ParameterRule> eventsParameters();

/// Answers with the recent events of a table.
Response readEvents(const Call& call);

}  // namespace fw::http
