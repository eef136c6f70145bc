#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "http/api/event_stream.h"
#include "http/server/problem.h"
#include "http/server/target.h"
#include "journal/journal.h"

namespace fw::http {

/// What a client asks for that wants to listen.
struct StreamRequest {
  StreamFilter filter;
  std::optional<JournalPosition> after;  ///< without: from now on
};

/// The parameters of the stream's address.
inline const std::vector<std::string> kStreamParameters = {"after", "kind", "table"};
inline const std::vector<std::string> kRepeatedStreamParameters = {"kind", "table"};

/// Reads them, and the header Last-Event-ID (empty: not given), which goes before `after`: a
/// browser that comes back asks with the address of its first request.
std::variant<StreamRequest, Problem> parseStreamRequest(const std::vector<Parameter>& parameters,
                                                        const std::string& lastEventId);

}  // namespace fw::http
