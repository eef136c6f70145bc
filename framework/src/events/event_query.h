#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "engine/request_error.h"
#include "events/event_feed.h"

namespace fw {

/// A query for the recent events of a table.
struct EventQuery {
  /// Events that may be asked for at a time; a filtered query looks at no more either.
  static constexpr std::uint32_t kMaxLimit = 100'000;

  std::string table;
  std::uint64_t since = 0;                  ///< only events after this number
  bool otherRun = false;                    ///< `since` is from another run of the agent
  std::uint32_t limit = kMaxLimit;          ///< events in the answer at most
  std::string where = {};                   ///< "COLUMN OP VALUE and ..."; empty takes every event
  std::optional<std::string> subnode = {};  ///< without: of all subnodes
};

/// The answer. Self-contained, as the page is.
struct EventAnswer {
  EventPage page;          ///< its events are those that pass
  std::uint64_t next = 0;  ///< `since` of a query for what follows
  bool reset = false;      ///< nothing follows what was asked for: the oldest events come first
  bool truncated = false;  ///< a limit cut events off
};

/// Looks at the events of a feed. Any thread may call; nothing blocks.
std::variant<EventAnswer, RequestError> queryEvents(const EventFeed& feed, const EventQuery& query);

}  // namespace fw
