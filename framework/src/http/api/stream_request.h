#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "http/api/event_stream.h"
#include "http/api/route.h"
#include "http/server/problem.h"
#include "journal/journal.h"

namespace fw::http {

class StreamHub;

/// What a client that wants to listen asks for.
struct StreamRequest {
  StreamFilter filter;
  std::optional<JournalPosition> after;  ///< without: from now on
};

std::vector<ParameterRule> streamParameters();

/// Reads checked parameters, and the header Last-Event-ID (empty: not given), which takes
/// precedence over `after`: a browser that reconnects uses the address of its first request.
std::variant<StreamRequest, Problem> parseStreamRequest(const std::vector<Parameter>& parameters,
                                                        const std::string& lastEventId);

/// Answers with a live stream.
Response openStream(const Call& call, StreamHub& streams);

}  // namespace fw::http
