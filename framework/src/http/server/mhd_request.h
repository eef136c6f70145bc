#pragma once

#include "http/server/gate.h"

struct MHD_Connection;

namespace fw::http {

/// A request's line and headers as the HTTP library has read them, and what is wrong with the
/// header lines. The library takes them as they come; of one that is continued on the next line it
/// even makes another header. `method` and `version` are the texts that it gave to the handler.
RawRequest readRequest(MHD_Connection* connection, const char* method, const char* target,
                       const char* version);

}  // namespace fw::http
