#pragma once

#include "http/server/response.h"

struct MHD_Connection;

namespace fw::http {

/// Hands an answer to the HTTP library, which sends it. Called on the connection's HTTP thread;
/// false when the connection can't take it.
bool queueResponse(MHD_Connection* connection, Response&& response);

}  // namespace fw::http
