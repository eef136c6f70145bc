#include "http/api/events_request.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "events/event_query.h"
#include "http/api/api_parameters.h"
#include "http/api/events_body.h"
#include "http/api/request_problem.h"
#include "http/api/rest_api.h"
#include "http/server/problem.h"
#include "journal/journal.h"

namespace fw::http {

namespace {

constexpr std::uint64_t kMaxSeq = std::numeric_limits<std::int64_t>::max();

/// Sets `problem` if a parameter can't be used. `epoch` is that of this run of the agent.
EventQuery parse(const Request& request, std::uint64_t epoch, std::optional<Problem>& problem) {
  const std::vector<Parameter>& parameters = request.target.parameters;
  EventQuery query;
  query.table = request.target.segments[3];
  if (const auto since = findParameter(parameters, "since")) {
    if (const auto position = JournalPosition::parse(*since)) {
      query.since = position->number;
      query.otherRun = position->epoch != epoch;
    } else {
      query.since = parseNumber("since", *since, 0, kMaxSeq, problem);
    }
  }
  query.limit = RestApi::kDefaultLimit;
  if (const auto limit = findParameter(parameters, "limit"); limit && !problem) {
    query.limit =
        static_cast<std::uint32_t>(parseNumber("limit", *limit, 1, RestApi::kMaxLimit, problem));
  }
  query.where = findParameter(parameters, "where").value_or("");
  query.subnode = findParameter(parameters, "subnode");
  return query;
}

}  // namespace

Response answerEvents(Agent& agent, const Request& request) {
  const std::uint64_t epoch = agent.journal().last().epoch;
  std::optional<Problem> problem;
  const EventQuery query = parse(request, epoch, problem);
  if (problem) {
    return problemResponse(*problem, request.target.path);
  }
  auto answer = queryEvents(agent.eventFeed(), query);
  if (const auto* error = std::get_if<RequestError>(&answer)) {
    return problemResponse(toProblem(*error), request.target.path);
  }
  Response response;
  response.source =
      std::make_unique<EventsBody>(std::get<EventAnswer>(std::move(answer)), query.limit, epoch);
  return response;
}

}  // namespace fw::http
