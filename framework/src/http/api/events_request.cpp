#include "http/api/events_request.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "events/event_feed.h"
#include "http/api/api_parameters.h"
#include "http/api/events_body.h"
#include "http/api/request_problem.h"
#include "http/api/rest_api.h"
#include "http/server/problem.h"
#include "journal/journal.h"
#include "tables/condition.h"
#include "tables/value.h"
#include "tables/where_parser.h"

namespace fw::http {

namespace {

constexpr std::uint64_t kMaxSeq = std::numeric_limits<std::int64_t>::max();

struct Question {
  std::uint64_t since = 0;
  std::optional<std::uint64_t> epoch;  ///< of `since`
  std::uint32_t limit = RestApi::kDefaultLimit;
  std::string where;
  std::optional<std::string> subnode;

  bool isFiltered() const { return subnode || !where.empty(); }
};

std::variant<Question, Problem> parse(const std::vector<Parameter>& parameters) {
  Question question;
  std::optional<Problem> problem;
  if (const auto since = findParameter(parameters, "since")) {
    if (const auto position = JournalPosition::parse(*since)) {
      question.since = position->number;
      question.epoch = position->epoch;
    } else {
      question.since = parseNumber("since", *since, 0, kMaxSeq, problem);
    }
  }
  if (const auto limit = findParameter(parameters, "limit"); limit && !problem) {
    question.limit =
        static_cast<std::uint32_t>(parseNumber("limit", *limit, 1, RestApi::kMaxLimit, problem));
  }
  if (problem) {
    return *std::move(problem);
  }
  question.where = findParameter(parameters, "where").value_or("");
  question.subnode = findParameter(parameters, "subnode");
  return question;
}

/// Leaves the events that pass. Returns why that can't be said, or nothing.
std::optional<RequestError> filter(EventPage& page, const Question& question) {
  const TableInfo& table = *page.table;
  auto where = parseWhere(question.where, table);
  if (auto* error = std::get_if<WhereError>(&where)) {
    return RequestError{RequestError::Kind::BadWhere, std::move(error->message), error->position,
                        std::move(error->nearest)};
  }
  const Column* const origin = table.find(TableInfo::kOriginNode);
  if (question.subnode && origin == nullptr) {
    return RequestError{RequestError::Kind::UnknownSubnode,
                        "The events of table " + table.name + " are of no subnode.",
                        {},
                        ""};
  }
  const auto& predicate = std::get<Predicate>(where);
  std::erase_if(page.events, [&](const TableEvent& event) {
    return !holds(predicate, event.row) ||
           (question.subnode && decodeValue(*origin, event.row) != Value(*question.subnode));
  });
  return std::nullopt;
}

}  // namespace

Response answerEvents(Agent& agent, const Request& request) {
  const std::string& path = request.target.path;
  auto parsed = parse(request.target.parameters);
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    return problemResponse(*problem, path);
  }
  auto& question = std::get<Question>(parsed);
  EventsBody::Extent extent;
  extent.limit = question.limit;
  extent.epoch = agent.journal().last().epoch;
  if (question.epoch.value_or(extent.epoch) != extent.epoch) {
    // The number is of an earlier run of the agent; this one began at 1 again.
    question.since = 0;
    extent.reset = true;
  }
  // One more than asked for tells whether there are more; a filter has to see them all.
  const std::uint32_t asked = question.isFiltered() ? RestApi::kMaxLimit + 1 : question.limit + 1;
  const std::string& table = request.target.segments[3];
  auto found = agent.eventFeed().events(table, question.since, asked);
  if (const auto* page = std::get_if<EventPage>(&found);
      page != nullptr && question.since > page->lastSeq) {
    extent.reset = true;
    found = agent.eventFeed().events(table, 0, asked);
  }
  if (const auto* error = std::get_if<RequestError>(&found)) {
    return problemResponse(toProblem(*error), path);
  }
  auto& page = std::get<EventPage>(found);
  extent.next = page.lastSeq;
  if (page.events.size() >= asked) {
    page.events.pop_back();
    extent.next = page.events.back().seq;
    extent.truncated = true;
  }
  if (auto error = filter(page, question)) {
    return problemResponse(toProblem(*error), path);
  }
  if (page.events.size() > question.limit) {
    page.events.resize(question.limit);
    extent.next = page.events.back().seq;
    extent.truncated = true;
  }
  Response response;
  response.source = std::make_unique<EventsBody>(std::move(page), extent);
  return response;
}

}  // namespace fw::http
