#include "http/api/events_request.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "agent/agent.h"
#include "events/event_query.h"
#include "http/api/events_body.h"
#include "http/api/request_problem.h"
#include "http/server/gate.h"
#include "journal/journal.h"

namespace fw::http {

namespace {

static_assert(kMaxLimit <= EventQuery::kMaxLimit);

std::optional<Problem> checkSince(const std::string& value) {
  if (JournalPosition::parse(value)) {
    return std::nullopt;
  }
  return checkNumber("since", value, {0, std::numeric_limits<std::int64_t>::max()});
}

/// `epoch` is that of this run of the agent.
EventQuery parse(const Call& call, std::uint64_t epoch) {
  const std::vector<Parameter>& parameters = call.request.target.parameters;
  EventQuery query;
  query.table = call.name;
  if (const auto position =
          JournalPosition::parse(findParameter(parameters, "since").value_or(""))) {
    query.since = position->number;
    query.otherRun = position->epoch != epoch;
  } else {
    query.since = findNumber(parameters, "since").value_or(0);
  }
  query.limit = findLimit(parameters);
  query.where = findParameter(parameters, "where").value_or("");
  query.subnode = findParameter(parameters, "subnode");
  return query;
}

}  // namespace

std::vector<ParameterRule> eventsParameters() {
  return {{.name = "since", .check = checkSince},
          limitParameter(),
          {.name = "where"},
          {.name = "subnode"}};
}

Response readEvents(const Call& call) {
  const std::uint64_t epoch = call.agent.journal().last().epoch;
  const EventQuery query = parse(call, epoch);
  auto answer = queryEvents(call.agent.eventFeed(), query);
  if (const auto* error = std::get_if<RequestError>(&answer)) {
    return problemResponse(toProblem(*error), call.request.target.path);
  }
  Response response;
  response.content =
      std::make_unique<EventsBody>(std::get<EventAnswer>(std::move(answer)), query.limit, epoch);
  return response;
}

}  // namespace fw::http
