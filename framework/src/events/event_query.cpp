#include "events/event_query.h"

#include <utility>
#include <vector>

#include "tables/condition.h"
#include "tables/value.h"
#include "tables/where_parser.h"

namespace fw {

namespace {

/// Leaves the events that pass. Returns why that can't be said, or nothing.
std::optional<RequestError> filter(EventPage& page, const EventQuery& query) {
  const TableInfo& table = *page.table;
  auto where = parseWhere(query.where, table);
  if (auto* error = std::get_if<WhereError>(&where)) {
    return RequestError{RequestError::Kind::BadWhere, std::move(error->message), error->position,
                        std::move(error->nearest)};
  }
  const Column* const origin = table.find(TableInfo::kOriginNode);
  if (query.subnode && origin == nullptr) {
    return RequestError{RequestError::Kind::UnknownSubnode,
                        "The events of table " + table.name + " belong to no subnode.",
                        {},
                        ""};
  }
  const auto& predicate = std::get<Predicate>(where);
  std::erase_if(page.events, [&](const TableEvent& event) {
    return !holds(predicate, event.row) ||
           (query.subnode && decodeValue(*origin, event.row) != Value(*query.subnode));
  });
  return std::nullopt;
}

/// Cuts off what is more than `limit` events.
void truncate(EventAnswer& answer, std::uint32_t limit) {
  if (answer.page.events.size() > limit) {
    answer.page.events.resize(limit);
    answer.next = answer.page.events.back().seq;
    answer.truncated = true;
  }
}

}  // namespace

std::variant<EventAnswer, RequestError> queryEvents(const EventFeed& feed,
                                                    const EventQuery& query) {
  // A filter has to see them all. One more than that tells whether there are more.
  const bool isFiltered = query.subnode || !query.where.empty();
  const std::uint32_t seen = isFiltered ? EventQuery::kMaxLimit : query.limit;
  EventAnswer answer;
  answer.reset = query.otherRun;
  auto found = feed.events(query.table, answer.reset ? 0 : query.since, seen + 1);
  if (const auto* page = std::get_if<EventPage>(&found);
      page != nullptr && !answer.reset && query.since > page->lastSeq) {
    answer.reset = true;
    found = feed.events(query.table, 0, seen + 1);
  }
  if (auto* error = std::get_if<RequestError>(&found)) {
    return std::move(*error);
  }
  answer.page = std::get<EventPage>(std::move(found));
  answer.next = answer.page.lastSeq;
  truncate(answer, seen);
  if (auto error = filter(answer.page, query)) {
    return *std::move(error);
  }
  truncate(answer, query.limit);
  return answer;
}

}  // namespace fw
