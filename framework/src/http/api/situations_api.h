#pragma once

#include "http/api/route.h"

namespace fw::http {

// Requests about the situations of an agent.
Response listSituations(const Call& call);
Response showSituation(const Call& call);
Response addSituation(const Call& call);
Response removeSituation(const Call& call);

}  // namespace fw::http
